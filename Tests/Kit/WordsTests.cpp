// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/Words/WordLedger.h"
#include "QuilletKit/Words/WordStatsStore.h"
#include "QuilletKit/Words/WordStatsSummary.h"
#include "Tests/Doubles/FakeStores.h"
#include "Tests/Doubles/Rows.h"

namespace quillet {
namespace {

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

TEST(WordCounter, CountsPiecesThatHoldALetterOrANumber) {
  for (const auto& [text, words] : test::rows<std::tuple<std::string, std::int64_t>>("words", "counted")) {
    EXPECT_EQ(WordCounter::count(text), words) << text;
  }
  EXPECT_EQ(WordCounter::count("bad\xFF\xFE bytes \xC3"), 2);
}

TEST(WordLedger, KeepsTodayAndStopsAtTheEndsOfTheRange) {
  WordLedger ledger{{{"2025-01-01", kMost}, {"2026-01-01", kMost}}, kMost, "", ""};
  EXPECT_EQ(ledger.total(), kMost);
  ledger.add(0, "2026-01-01", "9999");
  EXPECT_EQ(ledger.days.size(), 2U);
  ledger.add(kMost, "2026-01-01", "2025-12-31");
  EXPECT_EQ(ledger, (WordLedger{{{"2026-01-01", kMost}}, kMost, "", ""}));
  ledger.add(1, "2024-01-01", "2026-01-01");
  EXPECT_TRUE(ledger.days.contains("2024-01-01")) << "also where a clock that was set back makes it old";
  EXPECT_EQ(saturatingSum(-kMost, -kMost), std::numeric_limits<std::int64_t>::min());
}

using Days = std::map<std::string, std::int64_t>;
using Ledgers = std::map<std::string, WordLedger>;

const WordCalendar kBerlin("Europe/Berlin", "de_DE");

/// A moment in the given calendar's zone.
std::int64_t at(const WordCalendar& calendar, int year, int month, int day, int hour) {
  return calendar.date(year, month, day).value() + hour * std::int64_t{3'600'000};
}

Ledgers ledgerOf(Days days, std::int64_t archived = 0) {
  return {{"me", {std::move(days), archived, "Desk", "macmini"}}};
}

TEST(WordCalendar, NamesDaysAndBeginsWeeksAsZoneAndLocaleSay) {
  const std::int64_t evening = 1'785'880'800'000;  // 2026-08-04T22:00:00Z, a Tuesday
  using Row = std::tuple<std::string, std::string, std::string, std::string>;
  for (const auto& [zone, locale, today, firstOfWeek] : test::rows<Row>("words", "calendars")) {
    const WordCalendar calendar(zone, locale);
    const auto week = calendar.week(evening).value();
    EXPECT_EQ(calendar.dayKey(evening), today) << locale;
    EXPECT_EQ(calendar.dayKey(week.start), firstOfWeek) << locale;
    EXPECT_EQ(week.start, calendar.startOfDay(week.start)) << locale;
    EXPECT_EQ(calendar.addingDays(week.start, 7), week.end) << locale;
  }
}

TEST(WordCalendar, ADayBeginsAtItsFirstMomentHoweverTheClocksGo) {
  // The hour after midnight is skipped in one place, and comes twice in the other.
  const WordCalendar santiago("America/Santiago", "es_CL"), havana("America/Havana", "es_CU");
  const std::int64_t late = santiago.startOfDay(at(santiago, 2025, 9, 7, 12));
  EXPECT_EQ(santiago.dayKey(late), "2025-09-07");
  EXPECT_EQ(santiago.dayKey(late - 1), "2025-09-06");
  const std::int64_t twice = havana.startOfDay(at(havana, 2025, 11, 2, 12));
  EXPECT_EQ(havana.dayKey(twice - 1), "2025-11-01");
}

TEST(WordStatsSummary, AddsUpAllDevices) {
  const std::int64_t now = at(kBerlin, 2026, 8, 5, 15);  // a Wednesday
  const Ledgers ledgers = {{"a", {{{"2026-08-05", 10}, {"2026-08-03", 5}, {"2026-08-02", 3}}, 100, "Phone", "iphone"}},
                           {"me", {{{"2026-08-05", 1}, {"2026-08-06", 50}, {"2026-07-31", 2}}, 7, "Desk", "macmini"}},
                           {"zero", {{{"2026-08-05", 0}}, 0, "Idle", "ipad"}},
                           {"b", {{{"2026-08-01", 60}}, 0, "Tablet", "ipad"}},
                           {"c", {{{"2026-08-01", 60}}, 0, "Other", "ipad"}}};
  const auto summary = WordStatsSummary::of(ledgers, "me", kBerlin, now);
  EXPECT_EQ(summary.today, 11);
  EXPECT_EQ(summary.week, 16) << "from Monday on, without tomorrow";
  EXPECT_EQ(summary.month, 139);
  EXPECT_EQ(summary.total, 298);
  EXPECT_EQ(summary.bestDay, (WordStatsSummary::Day{at(kBerlin, 2026, 8, 1, 0), 120}));
  EXPECT_EQ(summary.devices, (std::vector<WordStatsSummary::Device>{{"a", "Phone", "iphone", 118, false},
                                                                    {"me", "Desk", "macmini", 60, true},
                                                                    {"c", "Other", "ipad", 60, false},
                                                                    {"b", "Tablet", "ipad", 60, false}}));
  std::vector<WordStatsSummary::Day> week;
  const std::int64_t words[] = {0, 2, 120, 3, 5, 0, 11};
  for (int i = 0; i < 7; ++i) week.push_back({kBerlin.addingDays(at(kBerlin, 2026, 7, 30, 0), i).value(), words[i]});
  EXPECT_EQ(summary.lastWeek, week);
}

TEST(WordStatsSummary, CountsStreaksUpToTodayOrYesterday) {
  const std::int64_t now = at(kBerlin, 2026, 3, 30, 1);  // the day after the clocks changed
  for (const auto& [days, streak] : test::rows<std::tuple<Days, std::int64_t>>("words", "streaks")) {
    EXPECT_EQ(WordStatsSummary::of(ledgerOf(days), "me", kBerlin, now).streak, streak);
  }
  Days year;
  for (int day = 0; day < 366; ++day) year[kBerlin.dayKey(kBerlin.addingDays(now, -day).value())] = 1;
  EXPECT_EQ(WordStatsSummary::of(ledgerOf(year), "me", kBerlin, now).streak, 366);
}

TEST(WordStatsSummary, OfEqualDaysTheLaterIsTheBest) {
  const std::int64_t now = at(kBerlin, 2026, 8, 5, 15);
  const auto best = [&](Days days) {
    return kBerlin.dayKey(WordStatsSummary::of(ledgerOf(std::move(days)), "me", kBerlin, now).bestDay.value().date);
  };
  EXPECT_EQ(best({{"2026-01-02", 9}, {"2026-05-01", 9}, {"2026-04-01", 8}}), "2026-05-01");
  EXPECT_EQ(best({{"2026-05-01", 9}, {"+2026-5-2", 9}, {"2026-01-02", 9}}), "2026-05-02");
}

TEST(WordStatsSummary, KeysThatAreNoDatesCountForTheTotalAlone) {
  const std::int64_t now = at(kBerlin, 2026, 8, 5, 15);
  for (const char* const key : {"", "2026", "2026-08", "2026-08-05-1", "2026-08-x", "2026-08-\u0665", "2026-08- 5",
                                "99999999999999999999-08-05", "2026/08/05"}) {
    const auto summary = WordStatsSummary::of(ledgerOf({{key, 4}}, 1), "me", kBerlin, now);
    EXPECT_EQ(summary.total, 5) << key;
    EXPECT_EQ(summary.month, 0) << key;
    EXPECT_FALSE(summary.bestDay) << key;
  }
  const auto loose = WordStatsSummary::of(ledgerOf({{"2026-x-8-4", 4}}), "me", kBerlin, now);
  EXPECT_EQ(loose.week, 4);
  EXPECT_EQ(loose.lastWeek[5].words, 0) << "found under its own key only";
}

TEST(WordStatsSummary, SurvivesLedgersFromAnywhere) {
  const Ledgers ledgers = {{"a", {{{"2026-08-05", kMost}, {"2147483647-2147483647-2147483647", 1}}, kMost, "", ""}},
                           {"b", {{{"2026-08-05", kMost}, {"0-0-0", -5}}, -kMost, "", ""}}};
  for (const char* const locale : {"de_DE", "th_TH", "fa_IR", "ja_JP@calendar=japanese", "zh_CN@calendar=chinese"}) {
    const WordCalendar calendar("Europe/Berlin", locale);
    const auto summary = WordStatsSummary::of(ledgers, "a", calendar, 1'785'880'800'000);
    EXPECT_EQ(summary.lastWeek.size(), 7U) << locale;
    EXPECT_EQ(summary.devices.front().total, kMost) << locale;
  }
  // In a calendar of eras the same keys come round again; a streak ends all the same.
  const WordCalendar eras("UTC", "ja_JP@calendar=japanese");
  std::map<std::string, std::int64_t> all;
  for (int key = 0; key < 64 * 12 * 31; ++key) {
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", key / 372 + 1, key / 31 % 12 + 1, key % 31 + 1);
    all[text] = 1;
  }
  EXPECT_EQ(WordStatsSummary::of(ledgerOf(all), "me", eras, 1'785'880'800'000).streak,
            static_cast<std::int64_t>(all.size()));
}

const std::string kId = "0b5b1c0e-7c5f-4b6e-9d8e-0a1b2c3d4e5f";
const std::string kSharedKey = "words." + kId;

class WordStatsStoreTest : public testing::Test {
 protected:
  WordStatsStoreTest() { local.values["qlt.wordLedgerDevice"] = kId; }

  WordStatsStore store(WordLedgerStorage* shared) {
    return {shared, local, "Desk", "macmini", WordCalendar("Europe/Berlin", "de_DE"), [this] { return now; }};
  }
  static std::string json(Days days, std::int64_t archived = 0, std::string name = "Desk") {
    return JSONCoding::encode(WordLedger{std::move(days), archived, std::move(name), "macmini"});
  }
  std::string localCopy() { return local.values["qlt.wordLedger"]; }
  std::string sharedCopy() { return cloud.values[kSharedKey]; }

  test::MemoryPreferences local;
  test::FakeLedgerStorage cloud;
  std::int64_t now = WordCalendar("Europe/Berlin", "de_DE").date(2026, 8, 5).value() + 3'600'000;
};

TEST_F(WordStatsStoreTest, RecordsInMemoryLocallyAndShared) {
  auto stats = store(&cloud);
  stats.record("Two words.");
  stats.name = "New desk";
  stats.symbol = "laptopcomputer";
  stats.record(3);
  const WordLedger expected{{{"2026-08-05", 5}}, 0, "New desk", "laptopcomputer"};
  EXPECT_EQ(stats.ledgers().get(), (std::map<std::string, WordLedger>{{kId, expected}}));
  EXPECT_EQ(JSONCoding::decode<WordLedger>(localCopy()), expected);
  EXPECT_EQ(JSONCoding::decode<WordLedger>(sharedCopy()), expected);
  EXPECT_EQ(stats.summary().today, 5);
  EXPECT_TRUE(stats.summary().devices.at(0).isThisDevice);
  const int writes = cloud.writes + local.writes;
  for (const char* const nothing : {"", " \n\t", "-", "— …"}) stats.record(nothing);
  stats.record(0);
  stats.record(-4);
  EXPECT_EQ(cloud.writes + local.writes, writes);
  EXPECT_EQ(stats.ledgers().get().at(kId), expected);
}

TEST_F(WordStatsStoreTest, ArchivesDaysAfter400) {
  local.values["qlt.wordLedger"] = json({{"2025-06-30", 7}, {"2025-07-01", 3}, {"2026-08-04", 1}}, 10);
  auto stats = store(&cloud);
  EXPECT_EQ(stats.ledgers().get().at(kId).archived, 10) << "only a record prunes";
  const std::int64_t total = stats.summary().total;
  stats.record(1);
  const WordLedger ledger = stats.ledgers().get().at(kId);
  EXPECT_EQ(ledger.days, (Days{{"2025-07-01", 3}, {"2026-08-04", 1}, {"2026-08-05", 1}}));
  EXPECT_EQ(ledger.archived, 17);
  EXPECT_EQ(stats.summary().total, total + 1);
}

TEST_F(WordStatsStoreTest, ReconcilesTheTwoCopies) {
  const std::string five = json({{"2026-08-01", 5}}), otherFive = json({{"2026-08-02", 5}});
  const std::string six = json({{"2026-08-01", 6}}), renamed = json({{"2026-08-01", 5}}, 0, "Old name");
  using Case = std::tuple<const char*, std::string, std::string, std::string, int, int>;
  for (const auto& [what, here, there, kept, localWrites, sharedWrites] :
       {Case{"none", "", "", "", 0, 0},
        {"local only", five, "", five, 0, 1},
        {"shared only", "", five, five, 0, 0},
        {"greater shared", five, six, six, 1, 0},
        {"greater local", six, five, six, 0, 1},
        {"alike", five, five, five, 0, 0},
        {"tie", five, otherFive, five, 0, 1},
        {"tie, another name", five, renamed, five, 0, 1},
        {"unreadable local", "{", six, six, 0, 0},
        {"unreadable shared", five, "{}", five, 0, 1}}) {
    local.values.erase("qlt.wordLedger");
    cloud.values.clear();
    if (!here.empty()) local.values["qlt.wordLedger"] = here;
    if (!there.empty()) cloud.values[kSharedKey] = there;
    local.writes = cloud.writes = 0;
    const auto stats = store(&cloud);
    EXPECT_EQ(local.writes, localWrites) << what;
    EXPECT_EQ(cloud.writes, sharedWrites) << what;
    const auto& ledgers = stats.ledgers().get();
    EXPECT_EQ(ledgers.contains(kId) ? JSONCoding::encode(ledgers.at(kId)) : "", kept) << what;
    EXPECT_EQ(ledgers.empty(), kept.empty()) << what;
    if (localWrites > 0) EXPECT_EQ(localCopy(), kept) << what;
    if (sharedWrites > 0) EXPECT_EQ(sharedCopy(), kept) << what;
  }
}

TEST_F(WordStatsStoreTest, ReadsOtherDevicesAndFollowsThem) {
  cloud.values = {{"words.phone", json({{"2026-08-05", 8}})},
                  {"words.broken", "{\"days\":{}}"},
                  {"words.text", "hello"},
                  {"settings", json({{"2026-08-05", 1000}})}};
  auto stats = store(&cloud);
  EXPECT_EQ(stats.summary().total, 8);
  EXPECT_EQ(stats.ledgers().get().size(), 1U);
  int told = 0;
  const auto subscription = stats.ledgers().observe([&](const auto&) { ++told; });
  cloud.onExternalChange();
  EXPECT_EQ(told, 0) << "nothing changed";
  cloud.values["words.tablet"] = json({{"2026-08-05", 2}});
  cloud.onExternalChange();
  EXPECT_EQ(told, 1);
  EXPECT_EQ(stats.summary().total, 10);
  cloud.values.erase("words.phone");
  stats.reload();
  EXPECT_EQ(stats.summary().total, 2);
}

TEST_F(WordStatsStoreTest, EndsItsSubscription) {
  { const auto stats = store(&cloud); }
  EXPECT_FALSE(cloud.onExternalChange);
}

TEST_F(WordStatsStoreTest, WhatCanNotBeEncodedLeavesNoStaleCopy) {
  auto stats = store(&cloud);
  stats.record(1);
  const std::string shared = sharedCopy();
  stats.name = "\xFF";
  stats.record(1);
  EXPECT_FALSE(local.values.contains("qlt.wordLedger"));
  EXPECT_EQ(sharedCopy(), shared);
  EXPECT_EQ(stats.summary().total, 2);
}

}  // namespace
}  // namespace quillet
