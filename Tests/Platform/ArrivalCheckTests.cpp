// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "QuilletCompanion/Platform/Linux/Accessibility/TextUnits.h"
#include "QuilletCompanion/Platform/Linux/Typing/ArrivalCheck.h"
#include "Tests/Doubles/Rows.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;
using Look = TypingObservation;
using Unit = TypingObservation::CountUnit;

const std::u32string emoji = U"\U0001F600\U0001F601";

MonotonicTime at(Duration time) {
  return MonotonicTime{} + time;
}

ArrivalCheck posted(std::u32string_view characters, std::optional<Look> before) {
  ArrivalCheck check;
  check.before(before);
  check.add(characters, at(0ms));
  return check;
}

/// The check once its target was looked at.
ArrivalCheck& seen(ArrivalCheck& check, std::optional<Look> now, Duration age) {
  check.look(std::move(now), at(age));
  return check;
}

std::uint64_t arrived(std::u32string_view characters, std::optional<Look> before, std::optional<Look> now,
                      Duration age = 1ms) {
  auto check = posted(characters, before);
  return seen(check, std::move(now), age).arrived();
}

TEST(ArrivalCheck, CountsWhatArrived) {
  const Look before{10, 10, 0, 1, Unit::codePoints};
  const struct {
    std::int64_t characters, caret;
    std::uint64_t arrived;
  } rows[] = {{10, 10, 0}, {11, 11, 1}, {14, 14, 4},
              {20, 20, 4}, {13, 14, 4},  // trailing blanks that a target doesn't count yet
              {9, 9, 4}};                // text was taken away: nothing left to count
  for (const auto& row : rows) {
    EXPECT_EQ(arrived(U"äöab", before, Look{row.characters, row.caret, 0, 1, Unit::codePoints}), row.arrived)
        << row.characters;
  }
}

TEST(ArrivalCheck, GoesOnCountingFromWhereItStarted) {
  auto check = posted(U"abc", Look{10, 10, 0, 1, Unit::codePoints});
  EXPECT_EQ(seen(check, Look{12, 12, 0, 1, Unit::codePoints}, 1ms).underWay(), 1U);
  check.before(Look{12, 12, 0, 1, Unit::codePoints});  // a character is still under way
  check.add(U"def", at(2ms));
  EXPECT_EQ(seen(check, Look{14, 14, 0, 1, Unit::codePoints}, 3ms).arrived(), 4U);
  EXPECT_EQ(seen(check, Look{16, 16, 0, 1, Unit::codePoints}, 4ms).underWay(), 0U);
  check.before(Look{3, 3, 0, 2, Unit::codePoints});
  check.add(U"g", at(5ms));
  EXPECT_EQ(seen(check, Look{3, 3, 0, 2, Unit::codePoints}, 6ms).arrived(), 6U);
  EXPECT_EQ(check.posted(), 7U);
}

TEST(ArrivalCheck, ASelectionGivesWayFirst) {
  const Look before{10, 0, 6, 1, Unit::codePoints};
  EXPECT_EQ(arrived(U"abc", before, Look{10, 0, 6, 1, Unit::codePoints}), 0U);
  EXPECT_EQ(arrived(U"abc", before, Look{5, 1, 0, 1, Unit::codePoints}), 1U);
  EXPECT_EQ(arrived(U"abc", before, Look{7, 3, 0, 1, Unit::codePoints}), 3U);
}

TEST(ArrivalCheck, KnowsTheTargetsUnit) {
  for (const auto& [unit, grown, expected] :
       {std::tuple(Unit::codePoints, 2, 2), std::tuple(Unit::utf16, 2, 1), std::tuple(Unit::utf16, 4, 2),
        std::tuple(Unit::unknown, 2, 1), std::tuple(Unit::unknown, 4, 2)}) {
    EXPECT_EQ(arrived(emoji, Look{0, {}, 0, 1, unit}, Look{grown, {}, 0, 1, unit}), expected) << grown;
  }
}

TEST(ArrivalCheck, FindsOutTheUnitOnceForAnElement) {
  ArrivalCheck check = posted(emoji, Look{0, {}, 0, 7});
  // A count that stays at the number of code points is final.
  check.look(Look{2, {}, 0, 7}, at(10ms));
  EXPECT_EQ(seen(check, Look{2, {}, 0, 7}, 69ms).arrived(), 1U);
  EXPECT_EQ(seen(check, Look{2, {}, 0, 7}, 70ms).arrived(), 2U);
  const auto further = [&](std::uintptr_t element, std::int64_t start, std::int64_t grown) {
    check.before(Look{start, {}, 0, element});
    check.add(emoji, at(80ms));
    return seen(check, Look{start + grown, {}, 0, element}, 81ms).underWay();
  };
  EXPECT_EQ(further(7, 2, 2), 0U);
  EXPECT_EQ(further(7, 4, 3), 1U) << "it counts UTF-16 after all";
  check.look(Look{7, {}, 0, 7}, at(9s));
  EXPECT_EQ(further(8, 0, 2), 1U) << "another element";
}

TEST(ArrivalCheck, ForgetsWhatATargetHasLost) {
  const Look here{5, 5, 0, 1, Unit::codePoints};
  const Look elsewhere{5, 5, 0, 2, Unit::codePoints};
  EXPECT_EQ(arrived(U"ab", here, elsewhere, 99ms), 0U);
  EXPECT_EQ(arrived(U"ab", here, elsewhere, 100ms), 2U);
  EXPECT_EQ(arrived(U"  ", here, here, 1499ms), 0U);
  EXPECT_EQ(arrived(U"  ", here, here, 1500ms), 2U) << "not all count blanks at the end";
  auto busy = posted(U"ab", here);
  busy.look(here, at(7999ms));
  EXPECT_TRUE(busy.arrived() == 0 && !busy.lost()) << "a page that holds its keys";
  busy.look(here, at(8000ms));
  EXPECT_TRUE(busy.arrived() == 2 && busy.takeLost() && !busy.takeLost());
  auto slow = posted(U"ab", here);
  slow.look(Look{6, 6, 0, 1, Unit::codePoints}, at(1400ms));
  EXPECT_EQ(seen(slow, Look{6, 6, 0, 1, Unit::codePoints}, 4399ms).arrived(), 1U) << "it has shown that it is at work";
  slow.look(Look{6, 6, 0, 1, Unit::codePoints}, at(4400ms));
  EXPECT_TRUE(slow.arrived() == 2 && !slow.lost());
}

TEST(ArrivalCheck, AFieldThatShowsAPartIsReadAtItsCaret) {
  const auto look = [](std::int64_t characters, std::u32string tail) {
    return Look{characters, characters, 0, 1, Unit::codePoints, std::move(tail)};
  };
  auto check = posted(U"and so on", look(400, U"$ walk "));
  check.look(look(322, U"$ walk and"), at(1ms));  // a line of 80 has gone at the top, and 2 have come
  EXPECT_EQ(check.arrived(), 3U);
  EXPECT_EQ(seen(check, look(328, U"lk and so on"), 2ms).underWay(), 0U);
  check.before(look(328, U"lk and so on"));
  check.add(U"ly", at(3ms));
  EXPECT_EQ(seen(check, look(250, U"$ "), 4ms).underWay(), 2U) << "it may be about to be filled anew";
  EXPECT_EQ(seen(check, look(250, U"$ "), 304ms).underWay(), 0U) << "somebody else has cleared it";
  auto page = posted(U"it\u2019s so", look(500, U"and "));
  EXPECT_EQ(seen(page, look(600, U"other text"), 1ms).arrived(), 0U) << "more, but not of what was typed";
  EXPECT_EQ(seen(page, look(500, U"and\u00A0it's"), 2ms).arrived(), 4U) << "it shows no more than 500";
}

TEST(ArrivalCheck, WhatAnEarlierTextHasLostDoesNotEndTheNext) {
  const Look here{5, 5, 0, 1, Unit::codePoints};
  auto check = posted(U"ab", here);
  check.beginText();
  EXPECT_EQ(seen(check, here, 7999ms).underWay(), 2U) << "it may still come";
  check.look(here, at(8000ms));
  EXPECT_TRUE(check.underWay() == 0 && !check.lost());
  check.before(here);
  check.add(U"c", at(6s));
  EXPECT_TRUE(seen(check, here, 14s).lost());
}

TEST(ArrivalCheck, ATargetThatFallsSilentHasTakenNothing) {
  auto check = posted(U"ab", Look{5, 5, 0, 1, Unit::codePoints});
  for (const auto age : {1499ms, 5000ms}) {
    check.look(std::nullopt, at(age));
    EXPECT_EQ(check.underWay(), 2U);
    EXPECT_TRUE(check.unreadable());
  }
  EXPECT_EQ(seen(check, Look{7, 7, 0, 1, Unit::codePoints}, 5001ms).underWay(), 0U);
  EXPECT_FALSE(check.unreadable());
  check.look(Look{.elsewhere = true}, at(5002ms));
  EXPECT_TRUE(check.unreadable() && check.elsewhere());
  EXPECT_FALSE(check.before(Look{.elsewhere = true}));
  EXPECT_FALSE(check.before(std::nullopt)) << "what was never seen can't be seen to change";
}

TEST(TextUnits, CountsUnitsAndDropsOnlyFillersAfterAstralCharacters) {
  using Row = std::tuple<std::string, std::string, std::int64_t, std::int64_t>;
  for (const auto& [raw, expected, points, units] : test::rows<Row>("texts", "units")) {
    const auto clean = TextUnits::withoutFillers(raw);
    EXPECT_EQ(clean, expected);
    EXPECT_EQ(TextUnits::codePoints(clean), points) << raw;
    EXPECT_EQ(TextUnits::utf16Length(clean), units) << raw;
  }
}

}  // namespace
}  // namespace quillet
