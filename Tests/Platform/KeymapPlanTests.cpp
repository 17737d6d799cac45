// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Typing/KeymapPlan.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

namespace quillet {
namespace {

using Place = KeymapPlan::Place;
using Rules = KeymapPlan::Rules;

const Rules fresh{};

/// A layout of one letter key, "a", and so many places to borrow on each of `levels` levels.
KeymapPlan planOver(Keycode spares, unsigned levels = 1) {
  KeymapPlan plan;
  std::map<Place, std::optional<char32_t>> borrowable;
  for (Keycode i = 0; i < spares * levels; ++i)
    borrowable[{unsigned{i} / spares, static_cast<Keycode>(200 + i % spares)}];
  plan.setLayout({{U'a', {0, 38}}, {U'A', {KeyLevel::shift, 38}}}, borrowable);
  return plan;
}

std::u32string assignedIn(const KeymapPlan::Chunk& chunk) {
  std::u32string characters;
  for (const auto& assignment : chunk.assignments) characters += assignment.character;
  return characters;
}

/// The slowest target: it looks a key up only when it has to, by the keymap of that moment.
class Screen {
 public:
  void carryOut(const KeymapPlan::Chunk& chunk) {
    while (text_.size() < chunk.awaits) takeNext();
    for (const auto& [place, character] : chunk.assignments) keys_[place] = character;
    strokes_.insert(strokes_.end(), chunk.strokes.begin(), chunk.strokes.end());
  }
  std::size_t strokes() const { return strokes_.size(); }
  std::u32string text() {
    while (text_.size() < strokes_.size()) takeNext();
    return text_;
  }

 private:
  void takeNext() {
    const auto& [place, borrowed] = strokes_.at(text_.size());
    text_ += borrowed ? keys_.at(place) : place.level == 0 ? U'a' : U'A';
  }

  std::map<Place, char32_t> keys_;
  std::vector<KeymapPlan::Stroke> strokes_;
  std::u32string text_;
};

TEST(KeymapPlan, TakesTheLayoutsKeysUnlessAModifierOrTheKeyIsHeld) {
  const auto plain = planOver(3).plan(U"aA", fresh);
  ASSERT_EQ(plain.strokes.size(), 2U);
  EXPECT_TRUE(plain.assignments.empty());
  EXPECT_EQ(plain.strokes[0].place, (Place{0, 38}));
  EXPECT_EQ(plain.strokes[1].place, (Place{KeyLevel::shift, 38}));
  for (const auto& rules : {Rules{.nativesUsable = false}, Rules{.held = {38}}}) {
    const auto borrowed = planOver(3).plan(U"aA", rules);
    EXPECT_EQ(assignedIn(borrowed), U"aA");
    for (const auto& stroke : borrowed.strokes) EXPECT_TRUE(stroke.borrowed && stroke.place.level == 0);
  }
}

TEST(KeymapPlan, ReassignsTheLongestUnusedAndAwaitsItsLastUse) {
  auto plan = planOver(3);
  EXPECT_EQ(assignedIn(plan.plan(U"☀☁☀", fresh)), U"☀☁");
  EXPECT_EQ(plan.plan(U"☂", {.strokesSoFar = 3}).awaits, 0U);
  EXPECT_TRUE(plan.plan(U"☁☀", {.strokesSoFar = 4}).assignments.empty());
  const auto next = plan.plan(U"☃☁", {.strokesSoFar = 6});
  EXPECT_EQ(assignedIn(next), U"☃");
  EXPECT_EQ(next.awaits, 4U) << "the umbrella made room, which was stroke 4";
  EXPECT_TRUE(plan.plan(U"☀☁☃", {.strokesSoFar = 8}).assignments.empty());
}

TEST(KeymapPlan, FillsFreePlacesWithTheRestOfAnAlphabetAndTakesThoseBackUnawaited) {
  auto plan = planOver(12, 2);
  const auto first = plan.plan(U"п", fresh);
  EXPECT_EQ(first.assignments.size(), 24U);
  EXPECT_TRUE(plan.plan(U"ветер", {.strokesSoFar = 1}).assignments.empty());
  const auto other = plan.plan(U"☀☁", {.strokesSoFar = 6});
  EXPECT_EQ(assignedIn(other), U"☀☁");
  EXPECT_EQ(other.awaits, 0U);
  EXPECT_TRUE(plan.plan(U"привет", {.strokesSoFar = 8}).assignments.empty()) << "the rarest letters gave way";
}

TEST(KeymapPlan, ANewLayoutForgetsAssignmentsThatAreGone) {
  auto plan = planOver(1);
  plan.plan(U"☀", fresh);
  plan.setLayout({}, {{{0, 200}, std::nullopt}});
  EXPECT_EQ(assignedIn(plan.plan(U"☀", {.strokesSoFar = 1})), U"☀");
  plan.setLayout({}, {{{0, 200}, U'☀'}});
  EXPECT_TRUE(plan.plan(U"☀", {.strokesSoFar = 2}).assignments.empty());
}

TEST(KeymapPlan, WhateverIsTypedComesOutRightHoweverSlowTheTarget) {
  std::u32string text = U"aÄ привет Ελλάδα 漢字かな交じり文 שלום สวัสดี \U0001F600 “naïve” A";
  for (char32_t c = 0x4e00; c < 0x4e80; ++c) text += c;
  text += text;
  for (const Keycode spares : {1, 2, 5, 19}) {
    auto plan = planOver(spares, 4);
    Screen screen;
    std::u32string_view rest = text;
    while (!rest.empty()) {
      const auto size = std::min<std::size_t>(16, rest.size());
      const auto chunk = plan.plan(rest.substr(0, size), {.strokesSoFar = screen.strokes()});
      ASSERT_LE(chunk.awaits, screen.strokes());
      ASSERT_FALSE(chunk.strokes.empty());
      screen.carryOut(chunk);
      rest.remove_prefix(chunk.strokes.size());
    }
    EXPECT_EQ(screen.text(), text);
  }
}

}  // namespace
}  // namespace quillet
