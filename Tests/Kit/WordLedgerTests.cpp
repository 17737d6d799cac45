// SPDX-License-Identifier: MIT
#include "QuilletKit/Words/WordLedger.h"

#include <gtest/gtest.h>

#include <limits>

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

TEST(WordLedger, AddsToTodayAndArchivesWhatIsOlderThanTheCutoff) {
  WordLedger ledger{{{"2025-01-01", 7}, {"2025-06-30", 5}, {"2025-07-01", 3}, {"nonsense", 2}}, 10, "n", "s"};
  ledger.add(4, "2026-08-05", "2025-07-01");
  EXPECT_EQ(ledger.days, (std::map<std::string, std::int64_t>{{"2025-07-01", 3}, {"2026-08-05", 4}, {"nonsense", 2}}));
  EXPECT_EQ(ledger.archived, 22);
  EXPECT_EQ(ledger.total(), 31);

  const WordLedger before = ledger;
  ledger.add(0, "2026-08-05", "9999");
  ledger.add(-3, "2026-08-05", "9999");
  EXPECT_EQ(ledger, before);

  // Today stays, also where a clock that was set back makes it older than the cutoff.
  ledger.add(1, "2024-01-01", "2026-01-01");
  EXPECT_EQ(ledger.days, (std::map<std::string, std::int64_t>{{"2024-01-01", 1}, {"2026-08-05", 4}, {"nonsense", 2}}));
}

TEST(WordLedger, SumsStopAtTheEndsOfTheRange) {
  WordLedger ledger{{{"2025-01-01", kMost}, {"2026-01-01", kMost}}, kMost, "", ""};
  EXPECT_EQ(ledger.total(), kMost);
  ledger.add(kMost, "2026-01-01", "2025-12-31");
  EXPECT_EQ(ledger.days, (std::map<std::string, std::int64_t>{{"2026-01-01", kMost}}));
  EXPECT_EQ(ledger.archived, kMost);
  EXPECT_EQ(saturatingSum(-kMost, -kMost), std::numeric_limits<std::int64_t>::min());
}

}  // namespace
}  // namespace quillet
