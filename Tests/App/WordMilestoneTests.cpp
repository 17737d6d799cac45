// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/WordMilestone.h"

#include <gtest/gtest.h>

#include "Tests/Doubles/Rows.h"

namespace quillet {
namespace {

TEST(WordMilestone, ComparesWithPagesAndBooks) {
  using Row = std::tuple<std::int64_t, std::string, std::string, std::string, double>;
  for (const auto& [words, headline, subject, next, progress] : test::rows<Row>("words", "milestones")) {
    const auto found = WordMilestone::of(words);
    EXPECT_EQ(found.headline, headline) << words;
    EXPECT_EQ(found.subject, subject) << words;
    EXPECT_EQ(found.next ? found.next->title : "", next) << words;
    if (found.next) EXPECT_DOUBLE_EQ(found.next->progress, progress) << words;
  }
}

TEST(WordMilestone, TellsWholeMinutesOfTypingFromOneOn) {
  EXPECT_EQ(minutesOfTypingSaved(54), std::nullopt);
  EXPECT_EQ(minutesOfTypingSaved(55), 1);
  EXPECT_EQ(minutesOfTypingSaved(10000), 183);
}

}  // namespace
}  // namespace quillet
