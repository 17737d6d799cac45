// SPDX-License-Identifier: MIT
#pragma once

#include <gio/gio.h>

#include <string>

#include "QuilletCompanion/Platform/Linux/Session/DBusSignals.h"

/// Plain calls on message buses, which give null where nobody answers within two seconds.
namespace quillet::test::BusCalls {

inline GVariantRef call(GDBusConnection* bus, const char* name, const char* path, const char* interface,
                        const char* method, GVariant* arguments) {
  return GVariantRef(g_dbus_connection_call_sync(bus, name, path, interface, method, arguments, nullptr,
                                                 G_DBUS_CALL_FLAGS_NONE, 2000, nullptr, GErrorSlot()));
}

/// A connection of its own.
inline GRef<GDBusConnection> connectTo(const std::string& address) {
  constexpr auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                           G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  return GRef<GDBusConnection>(
      g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, nullptr, GErrorSlot()));
}

/// The process that has a name on a bus, "org.freedesktop.DBus" being the bus itself; 0 if there is none.
inline pid_t ownerOf(GDBusConnection* bus, const char* name) {
  const auto reply = call(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                          "GetConnectionUnixProcessID", g_variant_new("(s)", name));
  guint32 pid = 0;
  if (reply) g_variant_get(reply.get(), "(u)", &pid);
  return static_cast<pid_t>(pid);
}

inline std::string accessibilityAddress(GDBusConnection* session) {
  const auto reply = call(session, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", nullptr);
  const char* address = "";
  if (reply) g_variant_get(reply.get(), "(&s)", &address);
  return address;
}

}  // namespace quillet::test::BusCalls
