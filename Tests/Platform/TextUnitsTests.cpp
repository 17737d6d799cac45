// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Accessibility/TextUnits.h"

#include <gtest/gtest.h>

namespace quillet::TextUnits {
namespace {

TEST(TextUnits, CountsUnitsAndDropsOnlyFillersAfterAstralCharacters) {
  struct Case {
    std::string_view raw, clean;
    std::int64_t points, units;
  };
  const Case cases[] = {
      {"", "", 0, 0},
      {"aü日", "aü日", 3, 3},
      {"a😀\uFEFFb", "a😀b", 3, 4},
      {"👋\uFEFF🏽\uFEFF", "👋🏽", 2, 4},
      {"\uFEFFa\uFEFF", "\uFEFFa\uFEFF", 3, 3},
      {"😀\uFEFF\uFEFF", "😀\uFEFF", 2, 3},
      {"😀", "😀", 1, 2},
  };
  for (const auto& tested : cases) {
    const auto clean = withoutFillers(tested.raw);
    EXPECT_EQ(clean, tested.clean);
    EXPECT_EQ(codePoints(clean), tested.points) << tested.raw;
    EXPECT_EQ(utf16Length(clean), tested.units) << tested.raw;
  }
}

}  // namespace
}  // namespace quillet::TextUnits
