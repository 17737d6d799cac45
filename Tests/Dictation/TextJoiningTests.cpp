// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/TextJoining.h"

#include <gtest/gtest.h>

#include "QuilletKit/Base/Unicode.h"
#include "Tests/Doubles/Rows.h"

namespace quillet::test {
namespace {

using TextJoining::joined;
using TextJoining::textBeforeCaret;

TEST(TextJoiningTest, PutsABlankWhereWordsWouldStickTogether) {
  using Row = std::tuple<boost::json::value, std::string, std::string>;
  for (const auto& [before, text, expected] : rows<Row>("texts", "joined")) {
    const auto* stands = before.if_string();
    EXPECT_EQ(joined(text, stands ? Unicode::toUTF16(*stands) : std::nullopt), expected) << before << text;
  }
  EXPECT_EQ(joined("world", u"Hello\xd83d"), " world") << "half a character";
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
