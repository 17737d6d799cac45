// SPDX-License-Identifier: MIT
#pragma once

#include <boost/json.hpp>
#include <stdexcept>
#include <vector>

#include "Tests/Doubles/Files.h"

namespace quillet::test {

/// The rows of a table in Tests/data/tables/`file`.json: the array under `table`. A Row is a string, a number, a
/// container or a tuple of these, or a JSON value. Throws for a table that isn't there, that has no rows, or others.
template <typename Row>
std::vector<Row> rows(const std::string& file, const std::string& table) {
  const auto path = sourceFile("Tests/data/tables/" + file + ".json");
  auto found = boost::json::value_to<std::vector<Row>>(boost::json::parse(readText(path)).at(table));
  if (found.empty()) throw std::logic_error(path + " has no rows under " + table);
  return found;
}

}  // namespace quillet::test
