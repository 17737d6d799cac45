// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/ArrivalCheck.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

using namespace std::chrono_literals;
using Look = KeyTypist::Observation;
using Unit = KeyTypist::CountUnit;

constexpr ArrivalCheck::Answer nothing{false, false};
constexpr ArrivalCheck::Answer borrowedOnly{false, true};
constexpr ArrivalCheck::Answer all{true, true};

ArrivalCheck::Answer after(std::u32string characters, std::size_t throughBorrowed, std::optional<Look> before,
                           std::optional<Look> now, Duration age = 1ms) {
  ArrivalCheck check({std::move(characters), throughBorrowed, before, MonotonicTime{}});
  return check.look(now, MonotonicTime{} + age);
}

TEST(ArrivalCheck, CountsWhatArrived) {
  const Look before{10, 10, 0, 1, Unit::codePoints};
  const struct {
    std::int64_t characters, caret;
    ArrivalCheck::Answer answer;
  } rows[] = {{10, 10, nothing}, {11, 11, nothing}, {12, 12, borrowedOnly},
              {14, 14, all},     {13, 14, all},  // trailing blanks that a target doesn't count yet
              {9, 9, all}};                      // text was taken away: nothing left to count
  for (const auto& row : rows) {
    EXPECT_EQ(after(U"äöab", 2, before, Look{row.characters, row.caret, 0, 1, Unit::codePoints}), row.answer)
        << row.characters;
  }
}

TEST(ArrivalCheck, ASelectionGivesWayFirst) {
  const Look before{10, 0, 6, 1, Unit::codePoints};
  EXPECT_EQ(after(U"abc", 3, before, Look{10, 0, 6, 1, Unit::codePoints}), nothing);
  EXPECT_EQ(after(U"abc", 3, before, Look{5, 1, 0, 1, Unit::codePoints}), nothing);
  EXPECT_EQ(after(U"abc", 3, before, Look{7, 3, 0, 1, Unit::codePoints}), all);
}

TEST(ArrivalCheck, KnowsTheTargetsUnit) {
  const std::u32string emoji = U"\U0001F600\U0001F601";
  for (const auto& [unit, grown, expected] :
       {std::tuple(Unit::codePoints, 2, all), std::tuple(Unit::utf16, 2, nothing), std::tuple(Unit::utf16, 4, all),
        std::tuple(Unit::unknown, 2, nothing), std::tuple(Unit::unknown, 4, all)}) {
    EXPECT_EQ(after(emoji, 2, Look{0, {}, 0, 1, unit}, Look{grown, {}, 0, 1, unit}), expected) << grown;
  }
  // Of an unknown unit, a count that stays at the number of code points is final.
  ArrivalCheck check({emoji, 2, Look{}, MonotonicTime{}});
  EXPECT_EQ(check.look(Look{2}, MonotonicTime{10ms}), nothing);
  EXPECT_EQ(check.look(Look{2}, MonotonicTime{69ms}), nothing);
  EXPECT_EQ(check.look(Look{2}, MonotonicTime{70ms}), all);
}

TEST(ArrivalCheck, WaitsALittleWhereNothingCanBeCounted) {
  const Look here{5, 5, 0, 1, Unit::codePoints};
  const Look elsewhere{5, 5, 0, 2, Unit::codePoints};
  EXPECT_EQ(after(U"ab", 0, here, std::nullopt, 59ms), nothing);
  EXPECT_EQ(after(U"ab", 0, here, std::nullopt, 60ms), all);
  EXPECT_EQ(after(U"ab", 0, std::nullopt, here, 60ms), all);
  EXPECT_EQ(after(U"ab", 2, here, elsewhere, 99ms), nothing);
  EXPECT_EQ(after(U"ab", 2, here, elsewhere, 100ms), all);
  EXPECT_EQ(after(U"ab", 2, here, here, 1499ms), nothing);
  EXPECT_EQ(after(U"ab", 2, here, here, 1500ms), all);
}

}  // namespace
}  // namespace quillet
