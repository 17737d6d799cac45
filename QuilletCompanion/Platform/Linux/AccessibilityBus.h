// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

#include "QuilletCompanion/Platform/Linux/DBusSignals.h"
#include "QuilletCompanion/Platform/Linux/GObjectRef.h"
#include "QuilletKit/Clock.h"

namespace quillet {

/// The session's accessibility service. Main thread only.
class AccessibilityBus {
 public:
  AccessibilityBus() = default;
  ~AccessibilityBus();
  AccessibilityBus(const AccessibilityBus&) = delete;
  AccessibilityBus& operator=(const AccessibilityBus&) = delete;

  /// Whether assistive programs are served: the service answers, is switched on, and we are connected to its bus. The
  /// answer may be a second old. Connects when it first finds the service.
  bool isEnabled();
  /// Asks the service to be on, as assistive programs do at their start. False if it doesn't answer.
  bool enable();
  /// Connected to the accessibility bus: libatspi may be called. Stays true once it is.
  bool isConnected() const { return connected_; }
  /// The service says it is on, but the bus that we are connected to is gone or was replaced, or its registry no longer
  /// answers. libatspi connects once: only a new process gets out of the first two.
  bool isStale();
  /// Called from the event loop after a registry appeared, which knows of nobody yet who listens.
  std::function<void()> onNewRegistry;

 private:
  GVariantRef callStatus(const char* method, GVariant* arguments) const;
  bool askEnabled() const;
  void connect();
  std::string askAddress() const;
  void watchRegistry();

  DBusSignals session_{G_BUS_TYPE_SESSION};
  bool connected_ = false;
  bool enabled_ = false;
  MonotonicTime askedAt_{};
  std::string address_;        ///< Of the bus that libatspi is connected to.
  GRef<GDBusConnection> bus_;  ///< A connection of our own to it, to see its end and its registry's.
  guint watch_ = 0;
};

}  // namespace quillet
