// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/Unicode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace quillet {
namespace {

constexpr std::string_view kFamily = "\U0001F468\u200D\U0001F469\u200D\U0001F467";

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

TEST(Unicode, CountsGraphemeClusters) {
  EXPECT_EQ(Unicode::graphemeClusters(std::string_view("\r\n\xFF\xFE")).size(), 3U);
  const std::u16string units = u"ae\u0301\U0001F600";
  const auto clusters = Unicode::graphemeClusters(std::u16string_view(units));
  EXPECT_EQ(clusters, (std::vector<std::u16string_view>{u"a", u"e\u0301", u"\U0001F600"}));
}

TEST(Unicode, CutsAtClusters) {
  const std::string text = "e\u0301" + std::string(kFamily) + "z";
  EXPECT_EQ(Unicode::cutToClusters(text, 0), "");
  EXPECT_EQ(Unicode::cutToClusters(text, 1), "e\u0301");
  EXPECT_EQ(Unicode::cutToClusters(text, 2), "e\u0301" + std::string(kFamily));
  EXPECT_EQ(Unicode::cutToClusters(text, 3), text);
  EXPECT_EQ(Unicode::cutToClusters(text, 64), text);
}

TEST(Unicode, FindsControlCharacters) {
  for (const std::string_view text : {"a\nb", "\t", "\x7F", "\u0085", "\u009F", "\u2028", "x\u2029"}) {
    EXPECT_TRUE(Unicode::containsControl(text)) << text;
  }
  EXPECT_TRUE(Unicode::containsControl(std::string_view("a\0b", 3)));
  EXPECT_TRUE(Unicode::containsControl(std::u16string_view(u"a\u2028")));
  for (const std::string_view text :
       {"", "plain text", "\u00A0", "\u200B\u200D\uFEFF", "\u00AD", "\U0001F600", "\uE000"}) {
    EXPECT_FALSE(Unicode::containsControl(text)) << text;
  }
}

TEST(Unicode, TrimsWhiteSpaceAndNewLines) {
  EXPECT_EQ(Unicode::trim(" \t\r\n\u0085\u00A0\u2003\u2028\u2029\u3000a b\u205F\v\f "), "a b");
  EXPECT_EQ(Unicode::trim(" \u3000 "), "");
  EXPECT_EQ(Unicode::trim("\u200Bx\u200B"), "\u200Bx\u200B");
  EXPECT_EQ(Unicode::trim(u"\u2003\U0001F600 "), u"\U0001F600");
}

TEST(Unicode, OrdersNamesAsPeopleDo) {
  constexpr auto before = Unicode::nameComesBefore;
  std::vector<std::string> names{"Mic 10", "mic 2", "Zoom", "\u00C9cran", "USB 1", "", "Mic 9 left"};
  std::sort(names.begin(), names.end(), before);
  EXPECT_EQ(names, (std::vector<std::string>{"", "\u00C9cran", "mic 2", "Mic 9 left", "Mic 10", "USB 1", "Zoom"}));
  EXPECT_FALSE(before("Mic 02", "Mic 2") && before("Mic 2", "Mic 02"));
  EXPECT_FALSE(before("\xFF", "\xFF"));
}

}  // namespace
}  // namespace quillet
