// SPDX-License-Identifier: MIT
#pragma once

#include <unicode/calendar.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace quillet {

/// The days, weeks and months in which words are counted. Times are milliseconds since 1970. The time zone and the
/// locale, which says which calendar there is and on which day a week begins, stay the same. Main thread only. What the
/// calendar can't form is absent.
class WordCalendar {
 public:
  using Time = std::int64_t;
  struct Interval {
    Time start = 0, end = 0;  ///< The end belongs to the next one.
    bool holds(Time time) const { return start <= time && time < end; }
  };

  /// The user's: the locale of LC_ALL, LC_TIME or LANG, and the zone that the system has when the calendar is first
  /// used. Until then it takes next to no memory; its first use throws std::runtime_error without calendar data.
  static WordCalendar current();
  /// An Olson zone id and a locale, as "Europe/Berlin" and "de_DE". Throws std::runtime_error without calendar data.
  WordCalendar(const std::string& timeZone, const std::string& locale);

  /// The day that holds `time`, as year-month-day with at least 4, 2 and 2 digits.
  std::string dayKey(Time time) const;
  Time startOfDay(Time time) const;
  /// The same time of day, that many days later.
  std::optional<Time> addingDays(Time time, std::int32_t days) const;
  std::optional<Interval> week(Time time) const;
  std::optional<Interval> month(Time time) const;
  /// The day's start. Days beyond the end of a month run on into the next.
  std::optional<Time> date(std::int32_t year, std::int32_t month, std::int32_t day) const;

 private:
  WordCalendar() = default;
  std::unique_ptr<icu::Calendar> copy() const;
  std::unique_ptr<icu::Calendar> at(Time time) const;
  std::optional<Interval> interval(Time time, UCalendarDateFields unit) const;

  std::string locale_;                               ///< Empty for that of the process.
  mutable std::unique_ptr<icu::Calendar> calendar_;  ///< Made on first use, and then only ever copied.
};

}  // namespace quillet
