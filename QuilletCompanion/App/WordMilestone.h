// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillet {

/// How a number of words compares with well-known books.
struct WordMilestone {
  struct Next {
    std::string_view title;
    double progress = 0;  ///< From the last book to this one, 0 to 1.
  };
  /// "%1" stands for `subject`, where there is one.
  std::string_view headline;
  std::string subject;
  bool subjectIsTitle = false;  ///< A book's, to be translated; a number otherwise.
  std::optional<Next> next;

  static WordMilestone of(std::int64_t words);
};

/// Whole minutes that speaking so many words took less than typing them; absent below one.
std::optional<std::int64_t> minutesOfTypingSaved(std::int64_t words);

}  // namespace quillet
