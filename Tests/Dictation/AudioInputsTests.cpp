// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/AudioInputs.h"

#include <gmock/gmock.h>

#include "Tests/Doubles/FakeAudioDevices.h"

namespace quillet {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

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
  EXPECT_THAT(inputs.all.get(), IsEmpty());
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

}  // namespace
}  // namespace quillet
