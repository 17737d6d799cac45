// SPDX-License-Identifier: MIT
#include "QuilletSpeech/SpeechEngineChoice.h"

#include <gtest/gtest.h>

#include "QuilletSpeech/SpeechText.h"
#include "Tests/Doubles/Rows.h"
namespace quillet {
namespace {

using Kind = SpeechEngineChoice::Kind;

TEST(SpeechEngineChoice, TellsTheEngineByItsScheme) {
  EXPECT_EQ(SpeechEngineChoice::parse("sphinx").kind, Kind::sphinx);
  EXPECT_EQ(SpeechEngineChoice::parse("embedded").kind, Kind::sphinx);
  const auto web = SpeechEngineChoice::parse("https://speech.example:8443/openai/v1");
  EXPECT_EQ(web.kind, Kind::openAI);
  EXPECT_EQ(web.url, "https://speech.example:8443/openai/v1");
  EXPECT_EQ(SpeechEngineChoice::parse("http://127.0.0.1:8080").kind, Kind::openAI);
  for (const char* text : {"tcp://[::1]:10301", "wyoming://[::1]:10301"}) {
    const auto home = SpeechEngineChoice::parse(text);
    EXPECT_EQ(home.kind, Kind::wyoming);
    EXPECT_EQ(home.host, "::1");
    EXPECT_EQ(home.port, "10301");
  }
  EXPECT_EQ(SpeechEngineChoice::parse("tcp://speech.local").port, "10300");
}

TEST(SpeechEngineChoice, RefusesWhatNamesNoEngine) {
  for (const char* text : {"", "Sphinx", "speech.example", "ftp://speech.example", "http://", "https://a b/", "tcp://",
                           "tcp://host:99999", "tcp://host/path", "tcp://user@host", "wyoming://host?x"}) {
    EXPECT_THROW(SpeechEngineChoice::parse(text), SpeechEngineChoice::Malformed) << text;
  }
}

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
