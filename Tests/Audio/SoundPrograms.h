// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <mutex>
#include <numbers>
#include <thread>

#include "Tests/Doubles/ChildProcess.h"
#include "Tests/Doubles/Files.h"

namespace quillet::test {

using SteadyClock = std::chrono::steady_clock;

/// What a command prints, without the last end of line.
inline std::string outputOf(const std::string& command) {
  std::string output;
  FILE* const pipe = ::popen((command + " 2>/dev/null").c_str(), "r");
  std::array<char, 4096> buffer;
  while (const std::size_t size = std::fread(buffer.data(), 1, buffer.size(), pipe)) output.append(buffer.data(), size);
  ::pclose(pipe);
  while (output.ends_with('\n')) output.pop_back();
  return output;
}

/// Music for a test: a tone of 220 Hz that a muffler lets through, and one of 2 kHz that it doesn't.
class Music {
 public:
  static constexpr double low = 220, high = 2000;

  explicit Music(const std::vector<std::string>& options = {}) {
    writeFile(60);
    std::vector<std::string> arguments{"pacat", "--raw", "--rate=48000", "--channels=2", "--format=s16ne"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.push_back(file());
    player_.emplace(arguments);
  }
  void stop() { player_->end(SIGTERM); }
  /// The sink that it plays to.
  std::string place() const {
    const std::string sink = outputOf(
        "pactl list sink-inputs | awk '$1 == \"Sink:\" { sink = $2 } $1 == \"application.process.id\" && $3 == \"\\\"" +
        std::to_string(player_->id()) + "\\\"\" { print sink }'");
    return outputOf("pactl list short sinks | awk '$1 == \"" + sink + "\" { print $2 }'");
  }

 private:
  std::string file() const { return (folder_.path() / "music").string(); }
  void writeFile(int seconds) const {
    std::ofstream stream(file(), std::ios::binary);
    for (int i = 0; i < seconds * 48'000; ++i) {
      const auto tone = [&](double frequency) { return std::sin(2 * std::numbers::pi * frequency * i / 48'000); };
      const auto sample = static_cast<std::int16_t>(8000 * tone(low) + 8000 * tone(high));
      const std::int16_t frame[] = {sample, sample};
      stream.write(reinterpret_cast<const char*>(frame), sizeof frame);
    }
  }

  TemporaryFolder folder_;
  std::optional<ChildProcess> player_;
};

/// Listens to an output, as a person in front of it does.
class Listener {
 public:
  static constexpr int rate = 16'000;

  explicit Listener(const std::string& sink = "speakers") {
    int ends[2];
    if (::pipe(ends) != 0) std::abort();
    recorder_.emplace(
        std::vector<std::string>{"parec", "-d", sink + ".monitor", "--raw", "--format=float32ne", "--channels=2",
                                 "--rate=16000", "--property=node.dont-reconnect=true", "--latency-msec=20"},
        ends[1]);
    ::close(ends[1]);
    thread_ = std::thread([this, from = ends[0]] { read(from); });
  }
  ~Listener() {
    recorder_.reset();
    thread_.join();
  }

  struct Levels {
    double low = 0, high = 0;
  };
  /// How loud each tone of the music was within the last tenth of a second; 1 for one as it is played.
  Levels levels() {
    const std::lock_guard guard(lock_);
    const std::size_t count = rate / 10;
    if (samples_.size() < count) return {};
    const float* const last = samples_.data() + samples_.size() - count;
    return {tone(last, count, Music::low), tone(last, count, Music::high)};
  }
  /// Time that was silent altogether since `mark`, in milliseconds.
  double silentMilliseconds() {
    const std::lock_guard guard(lock_);
    std::size_t silent = 0;
    for (std::size_t i = mark_; i < samples_.size(); ++i) silent += samples_[i] == 0 ? 1 : 0;
    return 1000.0 * static_cast<double>(silent) / rate;
  }
  void mark() {
    const std::lock_guard guard(lock_);
    mark_ = samples_.size();
    onset_.reset();
  }
  /// When the first sound since `mark` was there to be read.
  std::optional<SteadyClock::time_point> onset() {
    const std::lock_guard guard(lock_);
    return onset_;
  }
  bool isListening() {
    const std::lock_guard guard(lock_);
    return samples_.size() > rate / 10;
  }

  bool hearsMusic() {
    const auto now = levels();
    return now.low > 0.8 && now.low < 1.2 && now.high > 0.8 && now.high < 1.2;
  }
  bool hearsMuffledMusic() {
    const auto now = levels();
    return now.low > 0.65 && now.low < 0.9 && now.high < 0.01;
  }

 private:
  static double tone(const float* samples, std::size_t count, double frequency) {
    double real = 0, imaginary = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const double angle = 2 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
      real += samples[i] * std::cos(angle);
      imaginary += samples[i] * std::sin(angle);
    }
    return 2 * std::hypot(real, imaginary) / static_cast<double>(count) / (8000.0 / 32'768);
  }
  void read(int from) {
    std::array<float, 320> piece;  // 10 ms of left and right
    std::size_t filled = 0;
    auto* const bytes = reinterpret_cast<char*>(piece.data());
    while (true) {
      const ssize_t size = ::read(from, bytes + filled, sizeof piece - filled);
      if (size <= 0) break;
      filled += static_cast<std::size_t>(size);
      if (filled < sizeof piece) continue;
      filled = 0;
      const std::lock_guard guard(lock_);
      const auto now = SteadyClock::now();
      for (std::size_t i = 0; i < piece.size(); i += 2) {
        samples_.push_back(piece[i]);
        if (!onset_ && std::abs(piece[i]) > 0.01F) onset_ = now + std::chrono::microseconds(i / 2 * 1'000'000 / rate);
      }
    }
    ::close(from);
  }

  std::optional<ChildProcess> recorder_;
  std::thread thread_;
  std::mutex lock_;
  std::vector<float> samples_;
  std::size_t mark_ = 0;
  std::optional<SteadyClock::time_point> onset_;
};

}  // namespace quillet::test
