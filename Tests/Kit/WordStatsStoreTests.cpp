// SPDX-License-Identifier: MIT
#include "QuilletKit/Words/WordStatsStore.h"

#include <gtest/gtest.h>

#include "QuilletKit/JSON/JSONCoding.h"
#include "Tests/Doubles/FakeLedgerStorage.h"
#include "Tests/Doubles/MemoryPreferences.h"

namespace quillet {
namespace {

using Days = std::map<std::string, std::int64_t>;

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
  const struct {
    const char* what;
    std::string local, shared, kept;
    int localWrites, sharedWrites;
  } cases[] = {{"none", "", "", "", 0, 0},
               {"local only", five, "", five, 0, 1},
               {"shared only", "", five, five, 0, 0},
               {"greater shared", five, six, six, 1, 0},
               {"greater local", six, five, six, 0, 1},
               {"alike", five, five, five, 0, 0},
               {"tie", five, otherFive, five, 0, 1},
               {"tie, another name", five, renamed, five, 0, 1},
               {"unreadable local", "{", six, six, 0, 0},
               {"unreadable shared", five, "{}", five, 0, 1}};
  for (const auto& each : cases) {
    local.values.erase("qlt.wordLedger");
    cloud.values.clear();
    if (!each.local.empty()) local.values["qlt.wordLedger"] = each.local;
    if (!each.shared.empty()) cloud.values[kSharedKey] = each.shared;
    local.writes = cloud.writes = 0;
    const auto stats = store(&cloud);
    EXPECT_EQ(local.writes, each.localWrites) << each.what;
    EXPECT_EQ(cloud.writes, each.sharedWrites) << each.what;
    const auto& ledgers = stats.ledgers().get();
    if (each.kept.empty()) {
      EXPECT_TRUE(ledgers.empty()) << each.what;
      continue;
    }
    ASSERT_TRUE(ledgers.contains(kId)) << each.what;
    EXPECT_EQ(JSONCoding::encode(ledgers.at(kId)), each.kept) << each.what;
    if (each.localWrites > 0) EXPECT_EQ(localCopy(), each.kept) << each.what;
    if (each.sharedWrites > 0) EXPECT_EQ(sharedCopy(), each.kept) << each.what;
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
