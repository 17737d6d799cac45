// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletCompanion/Platform/Linux/DBusSignals.h"
#include "QuilletKit/Clock.h"

namespace quillet {

/// The session's accessibility service. Main thread only.
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
  GVariantRef callStatus(const char* method, GVariant* arguments) const;
  bool askEnabled() const;
  void connect();

  DBusSignals session_{G_BUS_TYPE_SESSION};
  bool connected_ = false;
  bool enabled_ = false;
  MonotonicTime askedAt_{};
};

}  // namespace quillet
