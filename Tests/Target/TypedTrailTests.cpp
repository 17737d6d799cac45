// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Target/TypedTrail.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

const std::u16string before = u"What stood here before, and is longer than needed. ";
const std::u16string text = u"The quick brown fox jumps over 13 lazy dogs; why? Because it can, & so on at home.";

bool seenAll(const std::u16string& start, const std::u16string& typed,
             std::initializer_list<std::u16string_view> looks) {
  TypedTrail trail(start, typed);
  for (const auto shown : looks) trail.look(shown);
  return trail.complete();
}

TEST(TypedTrail, IsCompleteOnceEveryPartWasSeenInItsPlace) {
  const std::u16string all = before + text;
  const auto window = [&](std::size_t start, std::size_t end) {
    return std::u16string_view(all).substr(before.size() + start - 40, end - start + 40);
  };
  EXPECT_TRUE(seenAll(before, text, {window(0, 20), window(20, 60), window(60, text.size())}));
  EXPECT_FALSE(seenAll(before, text, {window(0, 20), window(60, text.size())})) << "the middle was never seen";
  EXPECT_FALSE(seenAll(before, text, {window(0, 20), window(20, 60)})) << "the field takes no more";
  EXPECT_TRUE(seenAll(u"", text, {text.substr(0, 10), text}));
  EXPECT_FALSE(seenAll(u"", text, {u"x" + text})) << "something else came first";
  EXPECT_FALSE(seenAll(before, u"no no", {before + u"no "}));
}

}  // namespace
}  // namespace quillet
