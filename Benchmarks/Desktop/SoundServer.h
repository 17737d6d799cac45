// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>

namespace quillet::bench {

/// The sound server that Tests/Audio/audio.sh started for this run.
class SoundServer {
 public:
  /// Absent where these benchmarks run without it.
  static std::optional<SoundServer> find() {
    const char* const address = std::getenv("PULSE_SERVER");
    const std::string prefix = "unix:";
    if (address == nullptr || !std::string(address).starts_with(prefix)) return std::nullopt;
    const auto folder = std::filesystem::path(std::string(address).substr(prefix.size())).parent_path().parent_path();
    SoundServer server;
    if (!(std::ifstream(folder / "sound-server") >> server.process_)) return std::nullopt;
    return server;
  }

  /// That its threads have used so far, in seconds.
  double cpu() const {
    double nanoseconds = 0;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/" + process_ + "/task")) {
      double one = 0;
      std::ifstream(thread.path() / "schedstat") >> one;
      nanoseconds += one;
    }
    return nanoseconds / 1e9;
  }

 private:
  std::string process_;
};

/// Until the condition holds; false if it doesn't in time.
template <typename Condition>
bool eventually(Condition condition, std::chrono::milliseconds atMost = std::chrono::seconds(10)) {
  const auto end = std::chrono::steady_clock::now() + atMost;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

}  // namespace quillet::bench
