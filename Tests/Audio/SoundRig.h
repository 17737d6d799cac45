// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <boost/asio/io_context.hpp>

#include "QuilletCompanion/Platform/Linux/Audio/PulseThread.h"
#include "Tests/Audio/SoundPrograms.h"

namespace quillet::test {

using namespace std::chrono_literals;

inline void run(const std::string& command) {
  ASSERT_EQ(std::system((command + " >/dev/null").c_str()), 0) << command;
}

inline void restartSound() {
  run(sourceFile("Tests/Audio/audio.sh") + " restart");
}

/// A main thread for the tested adapters, and what the tests wait with.
class SoundTest : public testing::Test {
 protected:
  ~SoundTest() override {
    // A test may have left the server without them.
    std::ignore = std::system("pactl set-default-sink speakers; pactl set-default-source microphone");
  }

  /// Serves the main thread until the condition holds; false if it doesn't in time.
  template <typename Condition>
  bool eventually(Condition condition, std::chrono::milliseconds atMost = 15s) {
    const auto end = SteadyClock::now() + atMost;
    while (!condition()) {
      if (SteadyClock::now() > end) return false;
      serve(5ms);
    }
    return true;
  }
  /// False if the condition fails at any moment of that time.
  template <typename Condition>
  bool during(std::chrono::milliseconds time, Condition condition) {
    return !eventually([&] { return !condition(); }, time);
  }
  void serve(std::chrono::milliseconds time) {
    main.restart();
    main.run_for(time);
  }

  boost::asio::io_context main;
  // Whatever waits on the main thread keeps it from looking idle.
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> open{main.get_executor()};
  PulseThread thread{main.get_executor()};
};

/// A test whose sound server is killed or hangs, and comes back.
template <typename Test>
class LosingServer : public Test {
 protected:
  ~LosingServer() override { restart(); }

  static void restart() { restartSound(); }
  static void kill(const char* signal) {
    run("kill -" + std::string(signal) + " " + outputOf("cat $XDG_RUNTIME_DIR/sound-server"));
  }
};

}  // namespace quillet::test
