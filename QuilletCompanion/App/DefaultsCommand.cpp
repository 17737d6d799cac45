// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/DefaultsCommand.h"

#include <boost/json/serialize.hpp>
#include <ostream>

namespace quillet {
namespace {

int read(const UserDefaults& defaults, const std::string& key, std::ostream& out, std::ostream& err) {
  const auto value = defaults.value(key);
  if (value.is_null()) {
    err << "There is no setting \"" << key << "\"." << std::endl;
    return 1;
  }
  out << (value.is_string() ? std::string(value.get_string()) : boost::json::serialize(value)) << std::endl;
  return 0;
}

}  // namespace

int runDefaultsCommand(UserDefaults& defaults, const std::vector<std::string>& words, std::ostream& out,
                       std::ostream& err) {
  const std::string verb = words.empty() ? "" : words[0];
  if (verb == "read" && words.size() == 1) {
    out << boost::json::serialize(defaults.lasting()) << std::endl;
    return 0;
  }
  if (verb == "read" && words.size() == 2) return read(defaults, words[1], out, err);
  if (verb == "write" && words.size() == 3) {
    defaults.set(words[1], UserDefaults::valueFrom(words[2]));
    return 0;
  }
  if (verb == "delete" && words.size() == 2) {
    if (!defaults.lasting().contains(words[1])) return read(defaults, words[1], out, err);
    defaults.remove(words[1]);
    return 0;
  }
  err << "usage: QuilletCompanion defaults read [KEY] | write KEY VALUE | delete KEY" << std::endl;
  return 2;
}

}  // namespace quillet
