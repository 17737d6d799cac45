// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/DictationPCM.h"

#include <gtest/gtest.h>

#include <vector>

#include "QuilletKit/Protocol/WaveFile.h"

namespace quillet::test {
namespace {

TEST(DictationPCMTest, TellsTheLevelOfTheNewestSamples) {
  const struct {
    std::int16_t amplitude;
    float level;
  } cases[] = {{0, 0}, {32767, 1}, {-32768, 1}, {103, 0}, {3277, 0.6F}, {328, 0.2F}};
  DictationPCM pcm;
  for (const auto& [amplitude, level] : cases) {
    pcm.append(std::vector<std::int16_t>(320, amplitude));
    EXPECT_NEAR(pcm.level(), level, 0.002) << amplitude;
  }
  pcm.append({});
  EXPECT_NEAR(pcm.level(), 0.2, 0.002) << "nothing new was heard";
  pcm.close();
  EXPECT_EQ(pcm.level(), 0);
  pcm.append(std::vector<std::int16_t>(320, 32767));
  EXPECT_EQ(pcm.level(), 0);
  EXPECT_EQ(pcm.size(), std::size(cases) * 640);
}

TEST(DictationPCMTest, KeepsEverythingInOrderUpToThreeHundredSeconds) {
  DictationPCM pcm;
  const std::vector<std::int16_t> piece = {1, -2, 0x1234};
  pcm.append(piece);
  EXPECT_EQ(pcm.bytes(0, 100), std::string("\x01\x00\xfe\xff\x34\x12", 6));
  EXPECT_EQ(pcm.bytes(4, 2), "\x34\x12");
  EXPECT_EQ(pcm.bytes(6, 100), "");

  const std::vector<std::int16_t> minute(60 * 16'000, 20'000);
  for (int i = 0; i < 5; ++i) pcm.append(minute);
  EXPECT_EQ(pcm.size(), 9'600'000u);
  const float frozen = pcm.level();
  pcm.append(std::vector<std::int16_t>(320, 0));
  EXPECT_EQ(pcm.size(), 9'600'000u);
  EXPECT_EQ(pcm.level(), frozen);
  EXPECT_EQ(pcm.wave().size(), 9'600'044u);
}

TEST(DictationPCMTest, WrapsItselfAsAWaveFile) {
  DictationPCM pcm;
  pcm.append(std::vector<std::int16_t>{0x0201});
  const std::string header(
      "RIFF\x26\0\0\0WAVEfmt \x10\0\0\0\x01\0\x01\0\x80\x3e\0\0\x00\x7d\0\0\x02\0\x10\0data\x02\0\0\0", 44);
  EXPECT_EQ(std::string(textOf(pcm.wave())), header + "\x01\x02");
}

}  // namespace
}  // namespace quillet::test
