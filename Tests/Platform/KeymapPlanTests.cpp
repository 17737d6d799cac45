// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/KeymapPlan.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace quillet {
namespace {

KeymapPlan planOver(Keycode spares) {
  KeymapPlan plan;
  std::map<Keycode, std::optional<char32_t>> borrowable;
  for (Keycode i = 0; i < spares; ++i) borrowable[static_cast<Keycode>(200 + i)] = std::nullopt;
  plan.setLayout({{U'a', {38, false}}, {U'A', {38, true}}}, borrowable);
  return plan;
}

std::u32string assignedIn(const KeymapPlan::Chunk& chunk) {
  std::u32string characters;
  for (const auto& assignment : chunk.assignments) characters += assignment.character;
  return characters;
}

TEST(KeymapPlan, TakesTheLayoutsKeysUnlessAModifierOrTheKeyIsHeld) {
  auto plan = planOver(3);
  const auto plain = plan.plan(U"aA", {});
  ASSERT_EQ(plain.strokes.size(), 2U);
  EXPECT_TRUE(plain.assignments.empty());
  EXPECT_FALSE(plain.strokes[0].shifted);
  EXPECT_TRUE(plain.strokes[1].shifted);
  for (const auto& rules : {KeymapPlan::Rules{true, {}}, KeymapPlan::Rules{false, {38}}}) {
    auto fresh = planOver(3);
    const auto borrowed = fresh.plan(U"aA", rules);
    EXPECT_EQ(assignedIn(borrowed), U"aA");
    for (const auto& stroke : borrowed.strokes) EXPECT_TRUE(stroke.borrowed && !stroke.shifted);
  }
}

TEST(KeymapPlan, ReassignsTheLongestUnusedAndOnlyThenSaysSo) {
  auto plan = planOver(3);
  EXPECT_EQ(assignedIn(plan.plan(U"äöä", {})), U"äö");
  EXPECT_FALSE(plan.plan(U"ü", {}).reassigns);
  EXPECT_TRUE(plan.plan(U"öä", {}).assignments.empty());
  const auto next = plan.plan(U"ñö", {});
  EXPECT_TRUE(next.reassigns);
  EXPECT_EQ(assignedIn(next), U"ñ");
  // "ü" made room; the others are still there.
  EXPECT_TRUE(plan.plan(U"äöñ", {}).assignments.empty());
}

TEST(KeymapPlan, StopsWhereKeycodesRunOutAndGoesOnFromThere) {
  auto plan = planOver(2);
  std::u32string_view rest = U"12345";
  int chunks = 0;
  for (; !rest.empty(); ++chunks) {
    const auto chunk = plan.plan(rest, {});
    ASSERT_FALSE(chunk.strokes.empty());
    std::set<Keycode> used;
    for (const auto& assignment : chunk.assignments) EXPECT_TRUE(used.insert(assignment.keycode).second);
    rest.remove_prefix(chunk.strokes.size());
  }
  EXPECT_EQ(chunks, 3);
  // Every keycode carries a later character of the chunk: one of them gives way.
  EXPECT_FALSE(plan.plan(U"x45", {}).strokes.empty());
  EXPECT_TRUE(planOver(0).plan(U"ä", {}).strokes.empty());
}

TEST(KeymapPlan, ANewLayoutForgetsAssignmentsThatAreGone) {
  auto plan = planOver(1);
  plan.plan(U"ä", {});
  plan.setLayout({}, {{200, std::nullopt}});
  EXPECT_EQ(assignedIn(plan.plan(U"ä", {})), U"ä");
  plan.setLayout({}, {{200, U'ä'}});
  EXPECT_TRUE(plan.plan(U"ä", {}).assignments.empty());
}

}  // namespace
}  // namespace quillet
