// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/Unicode.h"

#include <gtest/gtest.h>

#include <string>

namespace quillet {
namespace {

TEST(Unicode, ConvertsBothWaysAndRefusesIllFormedText) {
  for (const std::string text : {"", "plain", "\u00E9\u20AC\U0001F600"}) {
    const auto units = Unicode::toUTF16(text);
    ASSERT_TRUE(units);
    EXPECT_EQ(Unicode::toUTF8(*units), text);
    EXPECT_EQ(Unicode::utf16Length(text), units->size());
  }
  EXPECT_EQ(Unicode::toUTF16("\U0001F600"), u"\xD83D\xDE00");
  EXPECT_EQ(Unicode::toUTF16(std::string_view("a\0b", 3)), std::u16string(u"a\0b", 3));
  for (const std::string_view bad : {"\xC0\xAF", "\xED\xA0\x80", "\xE2\x82", "\xFF", "\xF4\x90\x80\x80"}) {
    EXPECT_FALSE(Unicode::toUTF16(bad)) << bad.size();
    EXPECT_FALSE(Unicode::isValidUTF8(bad));
  }
  EXPECT_EQ(Unicode::toUTF32(u"\u00E9\xD83D\xDE00z"), U"\u00E9\U0001F600z");
  for (const std::u16string_view lone : {u"a\xD83D", u"\xDE00z", u"\xD83D\xD83D\xDE00"}) {
    EXPECT_FALSE(Unicode::toUTF8(lone));
    EXPECT_FALSE(Unicode::toUTF32(lone));
  }
}

TEST(Unicode, TrimsWhiteSpaceAndNewLines) {
  EXPECT_EQ(Unicode::trim(" \t\r\n\u0085\u00A0\u2003\u2028\u2029\u3000a b\u205F\v\f "), "a b");
  EXPECT_EQ(Unicode::trim(" \u3000 "), "");
  EXPECT_EQ(Unicode::trim("\u200Bx\u200B"), "\u200Bx\u200B");
  EXPECT_EQ(Unicode::trim(u"\u2003\U0001F600 "), u"\U0001F600");
}

}  // namespace
}  // namespace quillet
