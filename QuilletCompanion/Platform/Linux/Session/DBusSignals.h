// SPDX-License-Identifier: MIT
#pragma once

#include <gio/gio.h>
#include <gio/gunixfdlist.h>

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>

#include "QuilletCompanion/Platform/Linux/Session/GObjectRef.h"

namespace quillet {

/// Frees a GVariant.
struct GVariantUnref {
  void operator()(GVariant* value) const { g_variant_unref(value); }
};
using GVariantRef = std::unique_ptr<GVariant, GVariantUnref>;

/// A connection of our own to the system or the session bus, with subscriptions that end with it. Everything arrives on
/// the main thread, from the main loop. A bus that can't be reached at construction makes everything a no-op; to one
/// that goes away later it connects again, after a second at first and a minute at last, and subscribes anew.
class DBusSignals {
 public:
  using Handler = std::function<void(GVariant* arguments)>;
  /// Both are null on failure.
  using Reply = std::function<void(GVariant* result, GUnixFDList* descriptors)>;

  explicit DBusSignals(GBusType bus);
  ~DBusSignals();
  DBusSignals(const DBusSignals&) = delete;
  DBusSignals& operator=(const DBusSignals&) = delete;

  /// Signals of the program that owns the name `sender`, of no other. `path` may be null for any.
  void subscribe(const char* sender, const char* interface, const char* member, const char* path, Handler handler);
  /// `appeared` is called, never at once, when a program has the name, and again for each later one; `vanished` when it
  /// is gone, also with the bus.
  void watchName(const char* name, std::function<void()> appeared, std::function<void()> vanished);
  static constexpr std::chrono::milliseconds callLimit{750};
  /// The reply, or nothing on failure; waits for `limit` at most. `arguments` may be floating.
  GVariantRef call(const char* service, const char* path, const char* interface, const char* method,
                   GVariant* arguments, GDBusCallFlags flags = G_DBUS_CALL_FLAGS_NO_AUTO_START,
                   std::chrono::milliseconds limit = callLimit) const;
  /// The same without waiting: `reply` is called later, also without a bus, or never if this object is gone by then.
  void callLater(const char* service, const char* path, const char* interface, const char* method, GVariant* arguments,
                 Reply reply) const;

 private:
  struct Subscription {
    std::string sender, interface, member;
    std::optional<std::string> path;
    Handler handler;
    guint id = 0;
  };
  struct Name {
    std::string name;
    std::function<void()> appeared, vanished;
    bool present = false;
    guint id = 0;
  };

  static void closed(GDBusConnection*, gboolean remotePeerVanished, GError*, void* self);
  static gboolean reconnect(void* self);
  void refuseLater(Reply reply) const;
  void adopt(GRef<GDBusConnection> connection);
  void drop();
  void retryLater();
  void activate(Subscription& subscription);
  void activate(Name& name);

  GBusType bus_;
  GRef<GDBusConnection> connection_;
  GRef<GCancellable> ending_{g_cancellable_new()};
  gulong closedSignal_ = 0;
  guint retry_ = 0;
  guint retrySeconds_ = 1;
  std::list<Subscription> subscriptions_;
  std::list<Name> names_;
};

}  // namespace quillet
