// SPDX-License-Identifier: MIT
#include "QuilletSpeech/SpeechEngineChoice.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace quillet
