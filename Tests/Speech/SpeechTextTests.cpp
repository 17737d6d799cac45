// SPDX-License-Identifier: MIT
#include "QuilletSpeech/SpeechText.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

TEST(SpeechText, LeavesHesitationOutAndNothingElse) {
  struct Case {
    const char *language, *text, *expected;
  };
  const Case kCases[] = {
      {"en", "um hello", "hello"},
      {"en", "Um, hello there.", "Hello there."},
      {"en", "I, um, think so", "I think so"},
      {"en", "I think, er, so.", "I think so."},
      {"en", "That is it, uh.", "That is it."},
      {"en", "Done. Uh, next.", "Done. Next."},
      {"en", "Really? Uhm!", "Really?"},
      {"en", "um, uh", ""},
      {"en", "The umbrella hums, mmm.", "The umbrella hums, mmm."},
      {"en-GB", "Er, no", "No"},
      {"de", "Ähm, er kommt um acht.", "Er kommt um acht."},
      {"nl", "Eh, er is iets", "Er is iets"},
      {"fr", "Euh, élan", "Élan"},
      {"", "Uh, er kommt um acht", "Er kommt um acht"},
      {"es", "um er eh", "um er eh"},
  };
  for (const Case& c : kCases) EXPECT_EQ(SpeechText::withoutFillers(c.text, c.language), c.expected) << c.text;
  EXPECT_EQ(SpeechText::finished(" um,\n go  on ", {.language = "en"}), "um, go on");
  EXPECT_EQ(SpeechText::finished(" \n", {}), "");
}

}  // namespace
}  // namespace quillet
