// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "QuilletCompanion/Platform/Linux/Session/BusAttempt.h"
#include "QuilletCompanion/Platform/Linux/Session/DBusSignals.h"
#include "QuilletCompanion/Platform/Linux/Session/GObjectRef.h"
#include "QuilletKit/Async/Clock.h"

namespace quillet {

/// The session's accessibility service. Its answers are kept for half a minute at most, and only while it would tell of
/// a change, so that asking again and again costs nothing. Main thread only.
class AccessibilityBus {
 public:
  /// To be called before any thread starts, since connecting changes a variable for a moment.
  static void reserveEnvironment();

  AccessibilityBus();
  ~AccessibilityBus();
  AccessibilityBus(const AccessibilityBus&) = delete;
  AccessibilityBus& operator=(const AccessibilityBus&) = delete;

  /// Whether assistive programs are served: the service answers, is switched on, and we are connected to its bus. While
  /// the service isn't seen on the session bus, the answer may be a second old. Connects when it first finds the
  /// service, and waits half a second then for its bus; one that takes longer is connected to in a later call.
  bool isEnabled();
  /// Asks the service to be on, as assistive programs do at their start. False if it doesn't answer.
  bool enable();
  /// Connected to the accessibility bus: libatspi may be called. Stays true once it is.
  bool isConnected() const { return connected_; }
  /// The service says it is on, but the bus that we are connected to is gone or was replaced, or its registry no longer
  /// answers. libatspi connects once: only a new process gets out of the first two.
  bool isStale();
  /// Called from the event loop after a new registry appeared. It doesn't know yet who listens.
  std::function<void()> onNewRegistry;

 private:
  /// The time of the last answer; none at first.
  struct Known {
    MonotonicTime at{};
    void now() { at = std::chrono::steady_clock::now(); }
    bool within(Duration age) const { return at != MonotonicTime{} && std::chrono::steady_clock::now() - at < age; }
  };

  GVariantRef callStatus(const char* method, GVariant* arguments) const;
  std::optional<bool> askEnabled() const;
  std::string askAddress(std::chrono::milliseconds limit = DBusSignals::callLimit) const;
  void forget();
  void connect(MonotonicTime deadline);
  bool isConnectionLost() const;
  void check();
  void settle(bool stale);
  void watchRegistry();

  DBusSignals session_{G_BUS_TYPE_SESSION};
  bool present_ = false;  ///< The service is seen on the session bus: it would tell of a change, and we of its end.
  bool connected_ = false;
  bool registrySeen_ = false;
  std::optional<bool> enabled_;  ///< What it said, if it answered.
  bool slow_ = false;            ///< The last question cost time and had no answer.
  bool stale_ = false;
  Known enabledKnown_, wellKnown_, checked_;
  std::string address_;                  ///< Of the bus that libatspi is connected to.
  std::unique_ptr<BusAttempt> attempt_;  ///< While it isn't known whether its bus answers.
  std::unique_ptr<BusPing> ping_;        ///< While it isn't known whether its registry answers.
  GRef<GDBusConnection> bus_;            ///< A connection of our own to it, to see its end and its registry's.
  guint watch_ = 0;
};

}  // namespace quillet
