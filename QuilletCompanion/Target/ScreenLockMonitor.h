// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace quillet {

/// Knows whether the screen is locked. Main thread only. Platforms derive from it and call `setLocked`.
class ScreenLockMonitor {
 public:
  virtual ~ScreenLockMonitor() = default;
  ScreenLockMonitor() = default;
  ScreenLockMonitor(const ScreenLockMonitor&) = delete;
  ScreenLockMonitor& operator=(const ScreenLockMonitor&) = delete;

  /// Called after each lock or unlock.
  std::function<void()> onChange;

  /// Latched from lock and unlock notifications; false at start.
  bool lockedByNotification() const { return lockedByNotification_; }
  /// Asks the session itself. What can't be read counts as not locked.
  virtual bool isScreenLocked() = 0;
  /// The flag, or else the session's answer.
  bool isLocked() { return lockedByNotification_ || isScreenLocked(); }

 protected:
  void setLocked(bool locked) {
    lockedByNotification_ = locked;
    if (onChange) onChange();
  }

 private:
  bool lockedByNotification_ = false;
};

}  // namespace quillet
