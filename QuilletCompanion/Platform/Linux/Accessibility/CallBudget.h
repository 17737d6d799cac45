// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <map>

#include "QuilletKit/Async/Clock.h"

namespace quillet {

/// Applications that left a call unanswered a moment ago and are not asked again until that moment has passed.
class HungApplications {
 public:
  bool contains(std::int32_t pid) const;
  void add(std::int32_t pid);
  /// The application has answered.
  void remove(std::int32_t pid) { until_.erase(pid); }

 private:
  std::map<std::int32_t, MonotonicTime> until_;
};

/// The time that one operation may spend on accessibility calls, however many it makes.
class CallBudget {
 public:
  static constexpr std::chrono::milliseconds limit{750};

  explicit CallBudget(HungApplications& hung, MonotonicTime deadline = MonotonicTime::max());
  ~CallBudget() { notePrevious(); }
  CallBudget(const CallBudget&) = delete;
  CallBudget& operator=(const CallBudget&) = delete;

  /// Ask before each call to the application `pid`; the call is then bounded by what is left. False if nothing is left
  /// or the application doesn't answer: the call must not be made.
  bool mayCall(std::int32_t pid);
  /// How long the call that was last allowed may wait.
  std::chrono::milliseconds callLimit() const { return callLimit_; }

 private:
  void notePrevious();

  HungApplications& hung_;
  MonotonicTime deadline_;
  MonotonicTime callStart_{};
  std::chrono::milliseconds callLimit_{0};
  std::int32_t callPID_ = 0;
};

}  // namespace quillet
