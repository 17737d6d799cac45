// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace quillet {

/// Counts words as people do: pieces between white space that hold a letter or a number.
namespace WordCounter {
std::int64_t count(std::string_view utf8);
}  // namespace WordCounter

/// The words that one device has counted; that device alone writes it. Sums stop at the ends of the integer range,
/// since ledgers come from other devices.
struct WordLedger {
  std::map<std::string, std::int64_t> days;  ///< By day key, see WordCalendar.
  std::int64_t archived = 0;                 ///< Words of days that fell out of `days`.
  std::string name, symbol;                  ///< How the device is called and shown.

  std::int64_t total() const;
  /// Adds to the day `today`, and archives every other day whose key is less than `cutoff`. Counts below 1 do nothing.
  void add(std::int64_t words, const std::string& today, std::string_view cutoff);
  bool operator==(const WordLedger&) const = default;
};

/// a + b, no further than the ends of the integer range.
std::int64_t saturatingSum(std::int64_t a, std::int64_t b);

}  // namespace quillet
