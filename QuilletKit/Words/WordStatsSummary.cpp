// SPDX-License-Identifier: MIT
#include "QuilletKit/Words/WordStatsSummary.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <tuple>

namespace quillet {
namespace {

using Days = std::map<std::string, std::int64_t>;

std::int64_t wordsOn(const Days& days, const std::string& key) {
  const auto found = days.find(key);
  return found != days.end() ? found->second : 0;
}

std::optional<std::int32_t> number(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  std::int32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

/// The first moment of the day that a key names.
std::optional<std::int64_t> dateOf(std::string_view key, const WordCalendar& calendar) {
  std::vector<std::int32_t> numbers;
  for (std::size_t start = 0; start <= key.size();) {
    const std::size_t end = std::min(key.find('-', start), key.size());
    if (const auto value = number(key.substr(start, end - start))) numbers.push_back(*value);
    start = end + 1;
  }
  if (numbers.size() != 3) return std::nullopt;
  return calendar.date(numbers[0], numbers[1], numbers[2]);
}

Days combined(const std::map<std::string, WordLedger>& ledgers) {
  Days days;
  for (const auto& [id, ledger] : ledgers) {
    for (const auto& [key, words] : ledger.days) days[key] = saturatingSum(days[key], words);
  }
  return days;
}

void addDatedDays(WordStatsSummary& summary, const Days& days, const WordCalendar& calendar, std::int64_t now) {
  const auto week = calendar.week(now);
  const auto month = calendar.month(now);
  for (const auto& [key, words] : days) {
    const auto date = dateOf(key, calendar);
    if (!date) continue;
    if (week && week->holds(*date) && *date <= now) summary.week = saturatingSum(summary.week, words);
    if (month && month->holds(*date) && *date <= now) summary.month = saturatingSum(summary.month, words);
    const auto& best = summary.bestDay;
    if (!best || std::tie(best->words, best->date) < std::tie(words, *date)) summary.bestDay = {*date, words};
  }
}

std::int64_t streakUpTo(std::int64_t start, const Days& days, const WordCalendar& calendar) {
  std::optional<std::int64_t> day = start;
  if (wordsOn(days, calendar.dayKey(start)) < 1) day = calendar.addingDays(start, -1).value_or(start);
  std::int64_t streak = 0;
  const auto most = static_cast<std::int64_t>(days.size());  // keys may come round again in calendars with eras
  for (; day && streak < most && wordsOn(days, calendar.dayKey(*day)) >= 1; day = calendar.addingDays(*day, -1)) {
    ++streak;
  }
  return streak;
}

std::vector<WordStatsSummary::Day> weekUpTo(std::int64_t start, const Days& days, const WordCalendar& calendar) {
  std::vector<WordStatsSummary::Day> week;
  for (int offset = -6; offset <= 0; ++offset) {
    if (const auto date = calendar.addingDays(start, offset)) {
      week.push_back({*date, wordsOn(days, calendar.dayKey(*date))});
    }
  }
  return week;
}

std::vector<WordStatsSummary::Device> devicesOf(const std::map<std::string, WordLedger>& ledgers,
                                                const std::string& thisDevice) {
  std::vector<WordStatsSummary::Device> devices;
  for (const auto& [id, ledger] : ledgers) {
    const std::int64_t total = ledger.total();
    if (total >= 1) devices.push_back({id, ledger.name, ledger.symbol, total, id == thisDevice});
  }
  std::sort(devices.begin(), devices.end(),
            [](const auto& a, const auto& b) { return std::tie(a.total, a.id) > std::tie(b.total, b.id); });
  return devices;
}

}  // namespace

WordStatsSummary WordStatsSummary::of(const std::map<std::string, WordLedger>& ledgers, const std::string& thisDevice,
                                      const WordCalendar& calendar, std::int64_t now) {
  const Days days = combined(ledgers);
  const std::int64_t start = calendar.startOfDay(now);
  WordStatsSummary summary;
  summary.today = wordsOn(days, calendar.dayKey(start));
  for (const auto& [id, ledger] : ledgers) summary.total = saturatingSum(summary.total, ledger.total());
  addDatedDays(summary, days, calendar, now);
  summary.streak = streakUpTo(start, days, calendar);
  summary.lastWeek = weekUpTo(start, days, calendar);
  summary.devices = devicesOf(ledgers, thisDevice);
  return summary;
}

}  // namespace quillet
