// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <boost/asio/co_spawn.hpp>

#include "QuilletCompanion/Dictation/AudioInputs.h"
#include "QuilletCompanion/Dictation/DictationFailure.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseDevices.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseMicrophone.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseMuffleRoutes.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseOtherSound.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseStream.h"
#include "Tests/Audio/SoundRig.h"
#include "Tests/Doubles/LogCapture.h"

namespace quillet {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

class MicrophoneTest : public SoundTest {
 protected:
  void start(std::optional<std::string> uid = {}) {
    interruptions = 0;
    failure.reset();
    recording.reset();
    {
      const std::lock_guard guard(lock);
      samples.clear();
      pieces.clear();
    }
    task.start([this, uid]() -> Awaitable<void> {
      try {
        recording = co_await microphone.record(
            uid, [this](std::span<const std::int16_t> piece) { take(piece); }, [this] { ++interruptions; });
      } catch (const DictationError& error) {
        failure = error.failure();
      }
    });
  }
  bool record(std::optional<std::string> uid = {}) {
    start(std::move(uid));
    return eventually([this] { return recording != nullptr || failure; }) && recording != nullptr;
  }
  bool unavailable() {
    return eventually([this] { return failure.has_value(); }) && failure == DictationFailure::microphoneUnavailable;
  }
  void take(std::span<const std::int16_t> piece) {
    const std::lock_guard guard(lock);
    samples.insert(samples.end(), piece.begin(), piece.end());
    pieces.push_back(piece.size());
  }
  std::size_t count() {
    const std::lock_guard guard(lock);
    return samples.size();
  }
  /// The share of the last tenth of a second's strength that this tone has; 0 for silence.
  double tone(double frequency) {
    const std::lock_guard guard(lock);
    constexpr std::size_t length = 1600;
    if (samples.size() < length) return 0;
    double real = 0, imaginary = 0, power = 0;
    for (std::size_t i = 0; i < length; ++i) {
      const double sample = samples[samples.size() - length + i];
      const double angle = 2 * std::numbers::pi * frequency * static_cast<double>(i) / 16'000;
      real += sample * std::cos(angle);
      imaginary += sample * std::sin(angle);
      power += sample * sample;
    }
    return power == 0 ? 0 : 2 * (real * real + imaginary * imaginary) / length / power;
  }

  PulseMicrophone microphone{thread};
  std::mutex lock;
  std::vector<std::int16_t> samples;
  std::vector<std::size_t> pieces;
  std::unique_ptr<MicrophoneRecording> recording;
  std::optional<DictationFailure> failure;
  int interruptions = 0;
  Task task{main.get_executor()};
};

TEST_F(MicrophoneTest, RecordsSpeechAsItComes) {
  const Music music({"-d", "microphone-in"});
  ASSERT_TRUE(record());
  EXPECT_TRUE(eventually([&] { return tone(Music::low) > 0.45 && tone(Music::high) > 0.45; }));
  // In real time, and in small pieces.
  const std::size_t before = count();
  serve(1s);
  EXPECT_NEAR(static_cast<double>(count() - before), 16'000, 2000);
  EXPECT_LE(*std::max_element(pieces.begin(), pieces.end()), 320U);
  recording.reset();
  const std::size_t after = count();
  serve(200ms);
  EXPECT_EQ(count(), after);
  EXPECT_EQ(interruptions, 0);
}

TEST_F(MicrophoneTest, RecordsFromTheChosenOneOrTheDefault) {
  const Music music({"-d", "headset-in"});
  ASSERT_TRUE(record("headset"));
  EXPECT_TRUE(eventually([&] { return tone(Music::low) > 0.4; }));
  ASSERT_TRUE(record("unplugged"));
  ASSERT_TRUE(eventually([&] { return count() > 16'000; }));
  EXPECT_LT(tone(Music::low), 0.1) << "the default one hears nothing";
}

TEST_F(MicrophoneTest, TellsOfAnUnpluggedMicrophoneAtOnce) {
  const std::string plugged =
      outputOf("pactl load-module module-remap-source master=headset-in.monitor source_name=usb");
  ASSERT_TRUE(eventually([] { return outputOf("pactl list short sources").find("usb") != std::string::npos; }));
  ASSERT_TRUE(record("usb"));
  ASSERT_TRUE(eventually([&] { return count() > 1600; }));
  run("pactl set-default-source headset");
  EXPECT_TRUE(during(300ms, [&] { return interruptions == 0; })) << "another default is none of its business";
  run("pactl unload-module " + plugged);
  EXPECT_TRUE(eventually([&] { return interruptions == 1; }, 1s));
  const std::size_t after = count();
  EXPECT_TRUE(during(300ms, [&] { return interruptions == 1; }));
  EXPECT_EQ(count(), after);
}

TEST_F(MicrophoneTest, FailsWhereThereIsNone) {
  run("pactl list short modules | grep module-remap-source | cut -f1 | xargs -n 1 pactl unload-module");
  ASSERT_TRUE(eventually([] { return outputOf("pactl list short sources | grep -vc monitor") == "0"; }));
  start();
  EXPECT_TRUE(unavailable());
  start("microphone");
  EXPECT_TRUE(unavailable());
  restartSound();
}

TEST_F(MicrophoneTest, LeavesNothingRecordingWhenCancelled) {
  for (int wait = 0; wait < 40; wait += 2) {
    start();
    serve(std::chrono::milliseconds(wait));
    task.cancel();
    recording.reset();
  }
  EXPECT_TRUE(eventually([] { return outputOf("pactl list source-outputs").find("Dictation") == std::string::npos; }));
  const std::size_t after = count();
  serve(200ms);
  EXPECT_EQ(count(), after);
  ASSERT_TRUE(record());
  EXPECT_TRUE(eventually([&] { return count() > 1600; }));
}

using ServerLossTest = LosingServer<MicrophoneTest>;

TEST_F(ServerLossTest, InterruptsARecordingAndRecordsAgainLater) {
  ASSERT_TRUE(record());
  kill("KILL");
  EXPECT_TRUE(eventually([&] { return interruptions == 1; }, 1s));
  // Refused, or cut off by a server that is still on its way out.
  for (const auto* const error : {"6", "11"}) {
    LogCapture::instance().expect("Microphone routing failed: connect (" + std::string(error) + ")");
  }
  start();
  EXPECT_TRUE(unavailable());
  restart();
  ASSERT_TRUE(record());
  EXPECT_TRUE(eventually([&] { return count() > 1600; }));
}

TEST_F(ServerLossTest, EndsTheRecordingInEveryPhase) {
  for (const int error :
       {0, int{PA_ERR_CONNECTIONREFUSED}, int{PA_ERR_CONNECTIONTERMINATED}, int{PA_ERR_KILLED}, int{PA_ERR_TIMEOUT}}) {
    for (const auto* const step : {"connect", "list", "record"}) {
      LogCapture::instance().expect("Microphone routing failed: " + std::string(step) + " (" + std::to_string(error) +
                                    ")");
    }
  }
  for (const auto wait : {0ms, 1ms, 3ms, 10ms, 30ms}) {
    start();
    serve(wait);
    kill("KILL");
    EXPECT_TRUE(eventually([&] { return failure || interruptions == 1; }, 5s)) << wait.count() << " ms";
    restart();
  }
}

TEST_F(ServerLossTest, NeverWaitsForAServerThatHangs) {
  // Not connected yet, connected, and recording.
  for (const int phase : {0, 1, 2}) {
    if (phase == 1) thread.post([core = thread.core()] { core->connection.connect(); });
    if (phase == 1) serve(200ms);
    if (phase == 2) ASSERT_TRUE(record());
    kill("STOP");
    const auto begun = SteadyClock::now();
    if (phase < 2) {
      LogCapture::instance().expect("Microphone routing failed: connect (8)");
      LogCapture::instance().expect("Microphone routing failed: list (0)");
      start();
      EXPECT_TRUE(unavailable()) << "phase " << phase;
    } else {
      recording.reset();
    }
    EXPECT_LT(SteadyClock::now() - begun, 4s) << "phase " << phase;
    kill("CONT");
  }
}

TEST_F(ServerLossTest, ListsTheMicrophonesThatThereAre) {
  PulseDevices devices(thread);
  AudioInputs inputs(devices);
  inputs.start();
  const AudioInput second{"microphone", "Mic 2"}, tenth{"headset", "Mic 10"};
  ASSERT_TRUE(eventually([&] { return inputs.all.get().size() == 2; }));
  EXPECT_THAT(inputs.all.get(), ElementsAre(second, tenth));
  EXPECT_EQ(inputs.systemDefault.get(), second);
  // A muffled route's own devices never show, not for a moment.
  int changes = 0;
  const auto watch = inputs.all.observe([&](const auto&) { ++changes; });
  PulseMuffleRoutes routes(thread);
  auto route = routes.build([](auto, const auto&) {});
  EXPECT_TRUE(
      eventually([] { return outputOf("pactl list short sinks").find("quillet_muffle") != std::string::npos; }));
  serve(300ms);
  route.reset();
  serve(300ms);
  EXPECT_EQ(changes, 0);

  run("pactl set-default-source headset");
  EXPECT_TRUE(eventually([&] { return inputs.systemDefault.get() == tenth; }));
  run("pactl list short modules | grep source_name=headset | cut -f1 | xargs pactl unload-module");
  EXPECT_TRUE(eventually([&] { return inputs.all.get() == std::vector{second}; }));
  run("pactl set-default-source speakers.monitor");
  EXPECT_TRUE(eventually([&] { return inputs.systemDefault.get() == std::nullopt; })) << "no microphone";
  kill("KILL");
  EXPECT_TRUE(eventually([&] { return inputs.all.get().empty(); }));
  restart();
  EXPECT_TRUE(eventually([&] { return inputs.all.get() == std::vector{second, tenth}; }));
}

class OtherSoundTest : public SoundTest {
 protected:
  bool isPlaying() {
    std::optional<bool> answer;
    task.start([&]() -> Awaitable<void> { answer = co_await other.isPlaying(); });
    EXPECT_TRUE(eventually([&] { return answer.has_value(); }));
    return answer.value_or(false);
  }

  PulseOtherSound other{thread};
  Task task{main.get_executor()};
};

TEST_F(OtherSoundTest, HearsOthersThatAreNotPaused) {
  EXPECT_FALSE(isPlaying());
  {
    const Music music;
    EXPECT_TRUE(eventually([&] { return isPlaying(); }));
  }
  EXPECT_TRUE(eventually([&] { return !isPlaying(); }));
  // A paused player keeps its stream, corked.
  const ChildProcess player({"mpv", "--no-config", "--ao=pulse", "--no-video", "--pause", "--idle=yes",
                             "--really-quiet", "--af=lavfi=[volume=0.5]", "av://lavfi:sine=frequency=220"});
  ASSERT_TRUE(eventually([&] { return outputOf("pactl list sink-inputs").find("Corked: yes") != std::string::npos; }));
  EXPECT_FALSE(isPlaying());
}

TEST_F(OtherSoundTest, DoesNotCountItself) {
  auto stream = std::make_shared<std::optional<PulseStream>>();
  std::atomic<int> opened{-1};
  thread.post([&, core = thread.core()] {
    core->connection.connect();
    stream->emplace(core->connection);
    const pa_buffer_attr buffer{static_cast<std::uint32_t>(-1), 4096, 0, 4096, 4096};
    opened = (*stream)->play("speakers", {"Test", {PA_SAMPLE_S16NE, 48'000, 2}, buffer}, [] { return false; });
  });
  ASSERT_TRUE(eventually([&] { return opened >= 0; }));
  ASSERT_EQ(opened, 0);
  EXPECT_NE(outputOf("pactl list short sink-inputs"), "");
  EXPECT_FALSE(isPlaying());
  thread.post([stream] { stream->reset(); });
}

}  // namespace
}  // namespace quillet
