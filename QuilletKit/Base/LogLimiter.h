// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace quillet {

/// Keeps a line that is repeated from filling a log: within a minute it is written a few times, then only counted.
class LogLimiter {
 public:
  using Time = std::chrono::steady_clock::time_point;
  /// Takes the line and how often it was held back.
  using Summary = std::function<void(const std::string& line, std::size_t heldBack)>;

  /// Whether a line is to be written now.
  bool admits(std::string_view line, Time now);
  /// Tells of the lines whose minute is over, and begins theirs anew; of all when `now` is the end of time.
  void summarise(Time now, const Summary& tell);

 private:
  struct Count {
    Time first;
    std::size_t times = 0;
  };
  std::unordered_map<std::string, Count> counts_;
  Time nextEnd_ = Time::max();
};

}  // namespace quillet
