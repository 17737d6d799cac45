// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletKit/Clock.h"

namespace quillet {

/// The session's accessibility service. Main thread only; construct after QCoreApplication.
class AccessibilityBus {
 public:
  /// Whether assistive programs are served: the service answers, is switched on, and we are connected to its bus. The
  /// answer may be a second old. Connects when it first finds the service.
  bool isEnabled();
  /// Asks the service to be on, as assistive programs do at their start. False if it doesn't answer.
  bool enable();
  /// Connected to the accessibility bus: libatspi may be called. Stays true once it is.
  bool isConnected() const { return connected_; }
  /// The service says it is on, but the registry of the bus that we are connected to no longer answers.
  bool isStale();

 private:
  bool askEnabled();
  void connect();

  bool connected_ = false;
  bool enabled_ = false;
  MonotonicTime askedAt_{};
};

}  // namespace quillet
