// SPDX-License-Identifier: MIT
#pragma once

#include <gio/gio.h>

#include <memory>
#include <string>

#include "QuilletCompanion/Platform/Linux/Session/GObjectRef.h"
#include "QuilletKit/Async/Clock.h"

namespace quillet {

/// A question to a program that may be long in answering, or never answer. It goes on by itself, but its answer is
/// heard of only in `wait`. Its end gives it up. Main thread only.
class BusPatience {
 public:
  BusPatience() = default;
  ~BusPatience() { g_cancellable_cancel(ending_.get()); }
  BusPatience(const BusPatience&) = delete;
  BusPatience& operator=(const BusPatience&) = delete;

  /// False if there is no answer by then. The event loop stands still meanwhile.
  bool wait(Duration limit);

 protected:
  struct Outcome {
    bool known = false;
    GRef<GDBusConnection> connection;
    bool answered = false;
  };
  struct ContextUnref {
    void operator()(GMainContext* context) const { g_main_context_unref(context); }
  };

  const std::unique_ptr<GMainContext, ContextUnref> context_{g_main_context_new()};
  const GRef<GCancellable> ending_{g_cancellable_new()};
  const std::shared_ptr<Outcome> outcome_ = std::make_shared<Outcome>();
};

/// An attempt to connect to a message bus.
class BusAttempt : public BusPatience {
 public:
  explicit BusAttempt(const std::string& address);
  /// After it was waited for: a connection on which the bus has answered, or null if there is none to be had.
  GRef<GDBusConnection> take();
};

/// Whether the program of a name answers, which is started if need be.
class BusPing : public BusPatience {
 public:
  BusPing(GDBusConnection* connection, const char* name);
  /// After it was waited for.
  bool answered() const { return outcome_->answered; }
};

}  // namespace quillet
