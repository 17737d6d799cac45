// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiElement.h"

namespace quillet {

/// Searches an application for the text element that has the focus. In large windows that takes tens to hundreds of
/// milliseconds, so it goes in steps and ends at a bound. Elements beyond the bound must tell by events. For
/// applications whose focus events we haven't seen.
class AtspiFocusSearch {
 public:
  explicit AtspiFocusSearch(std::int32_t pid) : pid_(pid) {}

  /// Goes on until the time is up, or one call longer. False once the search has ended; `found` then has its result.
  bool advance(CallBudget& budget, MonotonicTime until);
  /// Absent if there is none, or the application didn't answer.
  AtspiElementRef found() const { return found_; }
  /// How many elements were looked at.
  int looks() const { return looks_; }

 private:
  void query(AtspiAccessible* application, CallBudget& budget);
  void lookAtNext(CallBudget& budget);
  void appendChildren(AtspiAccessible* parent, CallBudget& budget);
  void take(GRef<AtspiAccessible> accessible);

  std::int32_t pid_;
  bool begun_ = false;
  int looks_ = 0;
  Duration spent_{};                                 ///< In `advance`.
  std::vector<GRef<AtspiAccessible>> applications_;  ///< Not asked yet.
  std::deque<GRef<AtspiAccessible>> queue_;          ///< Found and not looked at yet.
  AtspiElementRef found_;
};

/// The process that an accessible object lives in; the bus answers, not the application. 0 if it is gone.
std::int32_t processOf(AtspiAccessible* accessible);

}  // namespace quillet
