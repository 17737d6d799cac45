// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "QuilletKit/Words/WordCalendar.h"
#include "QuilletKit/Words/WordLedger.h"

namespace quillet {

/// What a person sees of all devices' ledgers together. Times are milliseconds since 1970.
struct WordStatsSummary {
  struct Day {
    std::int64_t date = 0;
    std::int64_t words = 0;
    bool operator==(const Day&) const = default;
  };
  struct Device {
    std::string id, name, symbol;
    std::int64_t total = 0;
    bool isThisDevice = false;
    bool operator==(const Device&) const = default;
  };

  std::int64_t today = 0;
  std::int64_t week = 0, month = 0;  ///< Of the calendar, up to now.
  std::int64_t total = 0;            ///< Archived days included.
  std::int64_t streak = 0;           ///< Consecutive days with words, up to today or yesterday.
  std::optional<Day> bestDay;        ///< Of equal ones the latest.
  std::vector<Day> lastWeek;         ///< Seven, oldest first, ending today.
  std::vector<Device> devices;       ///< Those with words, greatest total first.
  bool operator==(const WordStatsSummary&) const = default;

  /// `ledgers` by device id. Day keys that are no dates count for `total` alone.
  static WordStatsSummary of(const std::map<std::string, WordLedger>& ledgers, const std::string& thisDevice,
                             const WordCalendar& calendar, std::int64_t now);
};

}  // namespace quillet
