// SPDX-License-Identifier: MIT
#pragma once

#include <gio/gio.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <vector>

#include "QuilletCompanion/Platform/Linux/GObjectRef.h"

namespace quillet {

/// Frees a GVariant.
struct GVariantUnref {
  void operator()(GVariant* value) const { g_variant_unref(value); }
};
using GVariantRef = std::unique_ptr<GVariant, GVariantUnref>;

/// A connection of our own to the system or the session bus, with subscriptions that end with it. Signals arrive on the
/// main thread, from the main loop. Where the bus can't be reached everything is a no-op.
class DBusSignals {
 public:
  using Handler = std::function<void(GVariant* arguments)>;

  explicit DBusSignals(GBusType bus);
  ~DBusSignals();
  DBusSignals(const DBusSignals&) = delete;
  DBusSignals& operator=(const DBusSignals&) = delete;

  GDBusConnection* connection() const { return connection_.get(); }
  /// `path` may be null for any.
  void subscribe(const char* sender, const char* interface, const char* member, const char* path, Handler handler);
  /// The reply, or nothing on failure; waits for a second at most. `arguments` may be floating.
  GVariantRef call(const char* service, const char* path, const char* interface, const char* method,
                   GVariant* arguments) const;

 private:
  GRef<GDBusConnection> connection_;
  std::vector<guint> subscriptions_;
};

}  // namespace quillet
