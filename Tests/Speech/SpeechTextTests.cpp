// SPDX-License-Identifier: MIT
#include "QuilletSpeech/SpeechText.h"

#include <gtest/gtest.h>

#include "Tests/Doubles/Rows.h"

namespace quillet {
namespace {

TEST(SpeechText, LeavesHesitationOutAndNothingElse) {
  using Row = std::tuple<std::string, std::string, std::string>;
  for (const auto& [language, text, expected] : test::rows<Row>("texts", "withoutFillers")) {
    EXPECT_EQ(SpeechText::withoutFillers(text, language), expected) << text;
  }
  EXPECT_EQ(SpeechText::finished(" um,\n go  on ", {.language = "en"}), "um, go on");
  EXPECT_EQ(SpeechText::finished(" \n", {}), "");
}

}  // namespace
}  // namespace quillet
