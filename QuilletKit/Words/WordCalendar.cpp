// SPDX-License-Identifier: MIT
#include "QuilletKit/Words/WordCalendar.h"

#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace quillet {
namespace {

using Time = WordCalendar::Time;

std::unique_ptr<icu::Calendar> makeCalendar(std::unique_ptr<icu::TimeZone> zone, const icu::Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::Calendar> made(icu::Calendar::createInstance(zone.release(), locale, status));
  if (U_FAILURE(status) || !made) throw std::runtime_error("no calendar");
  // A midnight that the clocks jump over, or that comes twice, is the first moment of its day.
  made->setSkippedWallTimeOption(UCAL_WALLTIME_NEXT_VALID);
  made->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
  return made;
}

/// Of the user; empty if the environment names none.
std::string userLocale() {
  for (const char* const variable : {"LC_ALL", "LC_TIME", "LANG"}) {
    const char* const value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return value;
  }
  return {};
}

icu::Locale localeFrom(const std::string& name) {
  return name.empty() ? icu::Locale::getDefault() : icu::Locale::createCanonical(name.c_str());
}

void toMidnight(icu::Calendar& calendar) {
  for (const auto field : {UCAL_HOUR_OF_DAY, UCAL_MINUTE, UCAL_SECOND, UCAL_MILLISECOND}) calendar.set(field, 0);
}

std::optional<Time> timeOf(const icu::Calendar& calendar) {
  UErrorCode status = U_ZERO_ERROR;
  const UDate time = calendar.getTime(status);
  if (U_FAILURE(status)) return std::nullopt;
  return static_cast<Time>(time);
}

int component(const icu::Calendar& calendar, UCalendarDateFields field) {
  UErrorCode status = U_ZERO_ERROR;
  const int value = calendar.get(field, status);
  return U_FAILURE(status) ? 0 : value;
}

}  // namespace

WordCalendar WordCalendar::current() {
  WordCalendar calendar;
  calendar.locale_ = userLocale();
  return calendar;
}

WordCalendar::WordCalendar(const std::string& timeZone, const std::string& locale)
    : calendar_(makeCalendar(
          std::unique_ptr<icu::TimeZone>(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(timeZone))),
          icu::Locale::createCanonical(locale.c_str()))) {}

std::unique_ptr<icu::Calendar> WordCalendar::copy() const {
  if (!calendar_) {
    calendar_ = makeCalendar(std::unique_ptr<icu::TimeZone>(icu::TimeZone::createDefault()), localeFrom(locale_));
  }
  return std::unique_ptr<icu::Calendar>(calendar_->clone());
}

std::unique_ptr<icu::Calendar> WordCalendar::at(Time time) const {
  auto calendar = copy();
  UErrorCode status = U_ZERO_ERROR;
  calendar->setTime(static_cast<UDate>(time), status);
  return calendar;
}

std::string WordCalendar::dayKey(Time time) const {
  const auto calendar = at(time);
  char key[40];
  std::snprintf(key, sizeof key, "%04d-%02d-%02d", component(*calendar, UCAL_YEAR),
                component(*calendar, UCAL_MONTH) + 1, component(*calendar, UCAL_DATE));
  return key;
}

Time WordCalendar::startOfDay(Time time) const {
  const auto calendar = at(time);
  toMidnight(*calendar);
  return timeOf(*calendar).value_or(time);
}

std::optional<Time> WordCalendar::addingDays(Time time, std::int32_t days) const {
  const auto calendar = at(time);
  UErrorCode status = U_ZERO_ERROR;
  calendar->add(UCAL_DATE, days, status);
  if (U_FAILURE(status)) return std::nullopt;
  return timeOf(*calendar);
}

std::optional<WordCalendar::Interval> WordCalendar::week(Time time) const {
  return interval(time, UCAL_WEEK_OF_YEAR);
}

std::optional<WordCalendar::Interval> WordCalendar::month(Time time) const {
  return interval(time, UCAL_MONTH);
}

std::optional<WordCalendar::Interval> WordCalendar::interval(Time time, UCalendarDateFields unit) const {
  constexpr int kDaysOfWeek = 7;
  const auto calendar = at(time);
  UErrorCode status = U_ZERO_ERROR;
  const int passed = unit == UCAL_MONTH ? component(*calendar, UCAL_DATE) - 1
                                        : (component(*calendar, UCAL_DAY_OF_WEEK) -
                                           static_cast<int>(calendar->getFirstDayOfWeek(status)) + kDaysOfWeek) %
                                              kDaysOfWeek;
  calendar->add(UCAL_DATE, -passed, status);
  toMidnight(*calendar);
  const auto start = timeOf(*calendar);
  calendar->add(unit, 1, status);
  toMidnight(*calendar);
  const auto end = timeOf(*calendar);
  if (U_FAILURE(status) || !start || !end) return std::nullopt;
  return Interval{*start, *end};
}

std::optional<Time> WordCalendar::date(std::int32_t year, std::int32_t month, std::int32_t day) const {
  if (month == INT32_MIN) return std::nullopt;
  const auto calendar = copy();
  calendar->clear();
  calendar->set(year, month - 1, day);
  return timeOf(*calendar);
}

}  // namespace quillet
