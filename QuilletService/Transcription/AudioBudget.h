// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <unordered_map>

#include "QuilletKit/Async/Clock.h"

namespace quillet {

/// How much sound each device may have transcribed in an hour, which begins with its first. No limit at 0.
class AudioBudget {
 public:
  AudioBudget(std::chrono::seconds perHour, TimeSource time) : perHour_(perHour), time_(std::move(time)) {}

  /// A device that has used up its hour.
  bool spent(const std::string& deviceId) const;
  void use(const std::string& deviceId, std::chrono::milliseconds sound);
  void sweep();

 private:
  struct Hour {
    MonotonicTime start;
    std::chrono::milliseconds used{0};
  };
  bool over(const Hour& hour) const;

  std::chrono::seconds perHour_;
  TimeSource time_;
  std::unordered_map<std::string, Hour> hours_;
};

}  // namespace quillet
