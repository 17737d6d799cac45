// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "QuilletCompanion/Dictation/AudioInputs.h"
#include "QuilletCompanion/Dictation/DictationPCM.h"
#include "QuilletKit/Protocol/WaveFile.h"
#include "Tests/Doubles/FakeSound.h"

namespace quillet {
namespace {

using testing::ElementsAre;

AudioDevice microphone(std::uint32_t id, const std::string& uid, const std::string& name) {
  return {.id = id, .uid = uid, .name = name, .hasInput = true, .hidden = std::nullopt};
}

class AudioInputsTest : public testing::Test {
 protected:
  AudioInputsTest() { inputs.start(); }

  test::FakeAudioDevices devices;
  AudioInputs inputs{devices};
};

TEST_F(AudioInputsTest, ListsMicrophonesOnlyByName) {
  AudioDevice hidden = microphone(6, "hidden", "Aggregate"), shown = microphone(7, "shown", "mic 1");
  hidden.hidden = true;
  shown.hidden = false;
  AudioDevice speakers = microphone(8, "speakers", "Built-in"), nameless = microphone(9, "alsa_nameless", "");
  speakers.hasInput = false;
  nameless.name.reset();
  devices.tell({{microphone(1, "ten", "Mic 10"), microphone(2, "two", "Mic 2"), microphone(3, "", "No uid"), hidden,
                 shown, speakers, nameless, microphone(4, "quillet_muffle.monitor", "Monitor of Quillet muffle")},
                {}});
  EXPECT_THAT(inputs.all.get(), ElementsAre(AudioInput{"alsa_nameless", "alsa_nameless"}, AudioInput{"shown", "mic 1"},
                                            AudioInput{"two", "Mic 2"}, AudioInput{"ten", "Mic 10"}));
}

TEST_F(AudioInputsTest, TellsOnlyWhatIsDifferent) {
  int lists = 0, defaults = 0;
  const auto watchAll = inputs.all.observe([&](const auto&) { ++lists; });
  const auto watchDefault = inputs.systemDefault.observe([&](const auto&) { ++defaults; });
  devices.tell({{microphone(1, "a", "A"), microphone(2, "b", "B")}, 1});
  EXPECT_EQ(inputs.systemDefault.get(), (AudioInput{"a", "A"}));
  // As the sound system tells them after a restart: in another order, under other numbers.
  devices.tell({{microphone(7, "b", "B"), microphone(8, "a", "A")}, 8});
  EXPECT_EQ(lists, 1);
  EXPECT_EQ(defaults, 1);
  devices.tell({{microphone(8, "a", "A")}, std::nullopt});
  EXPECT_EQ(inputs.systemDefault.get(), std::nullopt);
  devices.tell({});
  EXPECT_TRUE(inputs.all.get().empty());
  EXPECT_EQ(lists, 3);
  inputs.start();
  EXPECT_EQ(devices.watches, 1);
}

TEST_F(AudioInputsTest, FallsBackToTheDefaultWhileTheChosenOneIsAway) {
  EXPECT_EQ(inputs.deviceID(std::nullopt), std::nullopt);
  AudioDevice output = microphone(3, "speakers", "Speakers");
  output.hasInput = false;
  devices.tell({{microphone(1, "built-in", "Built-in"), microphone(2, "usb", "USB"), output}, 1});
  EXPECT_EQ(inputs.deviceID("usb"), 2U);
  EXPECT_EQ(inputs.deviceID(std::nullopt), 1U);
  EXPECT_EQ(inputs.deviceID("speakers"), 1U) << "has no input";
  devices.tell({{microphone(1, "built-in", "Built-in")}, 1});
  EXPECT_EQ(inputs.deviceID("usb"), 1U);
  EXPECT_FALSE(inputs.isAvailable(2));
  devices.tell({{microphone(5, "usb", "USB"), output}, std::nullopt});
  EXPECT_EQ(inputs.deviceID("usb"), 5U);
  EXPECT_EQ(inputs.deviceID("built-in"), std::nullopt);
  EXPECT_TRUE(inputs.isAvailable(5));
  EXPECT_FALSE(inputs.isAvailable(3));
}

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
}  // namespace quillet
