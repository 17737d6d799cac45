// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/WordMilestone.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

TEST(WordMilestone, ComparesWithPagesAndBooks) {
  const struct {
    std::int64_t words;
    std::string_view headline, subject, next;
    double progress;
  } rows[] = {
      {0, "Your first dictation starts the count.", "", "The Little Prince", 0},
      {249, "A page of a book is about 250 words. Keep talking.", "", "The Little Prince", 249 / 17000.0},
      {250, "About %1 pages of a book.", "1", "The Little Prince", 250 / 17000.0},
      {16999, "About %1 pages of a book.", "67", "The Little Prince", 16999 / 17000.0},
      {17000, "Longer than %1.", "The Little Prince", "The Great Gatsby", 0},
      {32000, "Longer than %1.", "The Little Prince", "The Great Gatsby", 0.5},
      {586999, "Longer than %1.", "Moby-Dick", "War and Peace", 380999 / 381000.0},
      {587000, "Longer than %1. Tolstoy would be impressed.", "War and Peace", "", 0},
  };
  for (const auto& row : rows) {
    const auto found = WordMilestone::of(row.words);
    EXPECT_EQ(found.headline, row.headline) << row.words;
    EXPECT_EQ(found.subject, row.subject) << row.words;
    EXPECT_EQ(found.next ? found.next->title : "", row.next) << row.words;
    if (found.next) EXPECT_DOUBLE_EQ(found.next->progress, row.progress) << row.words;
  }
}

TEST(WordMilestone, TellsWholeMinutesOfTypingFromOneOn) {
  EXPECT_EQ(minutesOfTypingSaved(54), std::nullopt);
  EXPECT_EQ(minutesOfTypingSaved(55), 1);
  EXPECT_EQ(minutesOfTypingSaved(10000), 183);
}

}  // namespace
}  // namespace quillet
