// SPDX-License-Identifier: MIT
#pragma once

#include <gio/gio.h>

#include <memory>
#include <string>

#include "QuilletCompanion/Platform/Linux/Session/GObjectRef.h"
#include "QuilletKit/Async/Clock.h"

namespace quillet {

/// An attempt to connect to a message bus that may be long in answering, or never answer. Goes on by itself, but is
/// heard of only in `wait`. Its end gives it up. Main thread only.
class BusAttempt {
 public:
  explicit BusAttempt(const std::string& address);
  ~BusAttempt();
  BusAttempt(const BusAttempt&) = delete;
  BusAttempt& operator=(const BusAttempt&) = delete;

  /// False if the bus hasn't answered by then. The event loop stands still meanwhile.
  bool wait(Duration limit);
  /// After that: a connection on which the bus has answered, or null if there is none to be had.
  GRef<GDBusConnection> take();

 private:
  struct Outcome {
    bool known = false;
    GRef<GDBusConnection> connection;
  };
  struct ContextUnref {
    void operator()(GMainContext* context) const { g_main_context_unref(context); }
  };

  const std::unique_ptr<GMainContext, ContextUnref> context_{g_main_context_new()};
  const GRef<GCancellable> ending_{g_cancellable_new()};
  const std::shared_ptr<Outcome> outcome_ = std::make_shared<Outcome>();
};

}  // namespace quillet
