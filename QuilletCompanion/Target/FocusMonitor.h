// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "QuilletCompanion/Target/AccessibilityProvider.h"
#include "QuilletCompanion/Target/TargetGuard.h"

namespace quillet {

/// Keeps the target guard's idea of the focus current: follows which application is in front, and inside that one what
/// has the focus. An application that can't be observed only goes without the second; the guard's own comparison still
/// holds there. Main thread only.
class FocusMonitor {
 public:
  /// `onFocusChange` runs after a change was passed to the guard; it may be empty. The references outlive the monitor.
  FocusMonitor(TargetGuard& targetGuard, AccessibilityProvider& provider, std::function<void()> onFocusChange);
  FocusMonitor(const FocusMonitor&) = delete;
  FocusMonitor& operator=(const FocusMonitor&) = delete;

  /// Begins to follow the front application, and looks at once. Repeats do nothing.
  void start();
  /// Follows nothing any more, until the next start.
  void stop();
  /// Looks which application is in front, observes that one, and has the guard compare. `onFocusChange` runs in any
  /// case.
  void refresh();
  /// Lets go of the application that is observed; the next refresh observes anew. For when the accessibility grant
  /// changed.
  void detach();

  /// The process that is observed.
  std::optional<std::int32_t> observedPID() const { return observedPID_; }

 private:
  void attach(std::optional<std::int32_t> pid);
  void focusMoved(const ElementRef& element);
  void tell() const;

  TargetGuard& targetGuard_;
  AccessibilityProvider& provider_;
  std::function<void()> onFocusChange_;
  std::unique_ptr<FocusObservation> front_;
  std::unique_ptr<FocusObservation> observer_;
  std::optional<std::int32_t> observedPID_;
};

}  // namespace quillet
