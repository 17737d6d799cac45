// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/TextJoining.h"

#include <gtest/gtest.h>

namespace quillet::test {
namespace {

using TextJoining::joined;
using TextJoining::textBeforeCaret;

TEST(TextJoiningTest, PutsABlankWhereWordsWouldStickTogether) {
  const struct {
    std::optional<std::u16string> before;
    const char* text;
    const char* expected;
  } cases[] = {
      {u"Hello", " world ", " world"},
      {u"Hello ", "world", "world"},
      {u"Hello\n", "world", "world"},
      {u"Hello\u00a0", "world", "world"},
      {u"Hello\r\n", "world", "world"},
      {u"(", "world", "world"},
      {u"Hello", ", world", ", world"},
      {std::nullopt, " world ", "world"},
      {u"", "\u3000world\t", "world"},
      {u"Hello", " \n ", ""},
      {u"Hello.", "World", " World"},
      {u"l\u00e0", "\u2026", "\u2026"},
      {u"Hello", "\u037e", "\u037e"},     // the Greek question mark is a semicolon by equivalence
      {u"Hello", ",\u0301", " ,\u0301"},  // a comma with an accent is another character
      {u"-\u0301", "world", " world"},    // so is a hyphen
      {u"\U0001f44b", "world", " world"},
      {u"Hello\xd83d", "world", " world"},  // half a character
      {u"Hello", "\u00bfqu\u00e9?", " \u00bfqu\u00e9?"},
  };
  for (const auto& [before, text, expected] : cases) EXPECT_EQ(joined(text, before), expected) << text;
  for (const char16_t opening : std::u16string(u"([{“‘\"'/-«¿¡")) {
    EXPECT_EQ(joined("world", std::u16string(u"Hello ") + opening), "world") << static_cast<int>(opening);
  }
  for (const char* closing : {".", ",", ";", ":", "!", "?", ")", "]", "}", "”", "’", "»", "…"}) {
    EXPECT_EQ(joined(closing, u"Hello"), closing);
  }
  for (const char* other : {"(", "“", "-", "'", "&"}) EXPECT_EQ(joined(other, u"Hello"), std::string(" ") + other);
  EXPECT_EQ(joined("world", std::u16string(1'000'000, u'a')), " world");
}

TEST(TextJoiningTest, KnowsWhatStandsBeforeTheCaretOrNothing) {
  EXPECT_EQ(textBeforeCaret({"a\U0001f44bb", AXTextRange{3, 1}}), u"a\U0001f44b") << "counted in UTF-16 units";
  EXPECT_EQ(textBeforeCaret({"abc", AXTextRange{3, 0}}), u"abc");
  EXPECT_EQ(textBeforeCaret({"abc", AXTextRange{0, 3}}), u"");
  EXPECT_EQ(textBeforeCaret({"abc", AXTextRange{4, 0}}), std::nullopt);
  EXPECT_EQ(textBeforeCaret({"abc", AXTextRange{-1, 0}}), std::nullopt);
  EXPECT_EQ(textBeforeCaret({"abc", std::nullopt}), std::nullopt);
  EXPECT_EQ(textBeforeCaret({std::nullopt, AXTextRange{0, 0}}), std::nullopt);
}

}  // namespace
}  // namespace quillet::test
