// SPDX-License-Identifier: MIT
#include "QuilletSpeech/SpeechText.h"

#include <gtest/gtest.h>

#include "QuilletSpeech/WAVFile.h"

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

TEST(WAVFile, FindsTheSamplesOfOurFormOnly) {
  const std::vector<std::int16_t> samples{1, -2, 32767, -32768};
  const Bytes file = WAVFile::wrap(samples);
  ASSERT_EQ(file.size(), WAVFile::kHeaderSize + 8);
  EXPECT_EQ(WAVFile::decode(*WAVFile::samples(file)), samples);

  Bytes other = file;
  other.insert(other.begin() + 12, {'L', 'I', 'S', 'T', 3, 0, 0, 0, 'a', 'b', 'c', 0});
  EXPECT_EQ(WAVFile::decode(*WAVFile::samples(other)), samples) << "an odd chunk is padded";
  other = file;
  other[40] = other[41] = other[42] = other[43] = 0xff;
  other.push_back(9);
  EXPECT_EQ(WAVFile::decode(*WAVFile::samples(other)), samples) << "a length beyond the end, an odd byte";

  for (const auto& [offset, value] : {std::pair{20, 3}, {22, 2}, {24, 0x40}, {34, 8}, {0, 'X'}, {8, 'X'}, {36, 'X'}}) {
    other = file;
    other[static_cast<std::size_t>(offset)] = static_cast<std::uint8_t>(value);
    EXPECT_FALSE(WAVFile::samples(other).has_value()) << offset;
  }
  for (std::size_t size = 0; size < WAVFile::kHeaderSize; ++size) {
    EXPECT_FALSE(WAVFile::samples(ByteView(file).first(size)).has_value()) << size;
  }
}

}  // namespace
}  // namespace quillet
