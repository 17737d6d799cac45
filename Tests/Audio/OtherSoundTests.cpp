// SPDX-License-Identifier: MIT
#include <optional>

#include "QuilletCompanion/Platform/Linux/Audio/PulseOtherSound.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseStream.h"
#include "Tests/Audio/SoundRig.h"

namespace quillet {
namespace {

using namespace test;

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
