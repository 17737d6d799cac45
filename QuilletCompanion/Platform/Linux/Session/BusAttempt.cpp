// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/BusAttempt.h"

namespace quillet {

BusAttempt::BusAttempt(std::string address)
    : BusQuestion([address = std::move(address)](GCancellable* ending) {
        constexpr auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                                 G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
        return GRef<GDBusConnection>(
            g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, ending, GErrorSlot()));
      }) {}

BusPing::BusPing(GDBusConnection* connection, std::string name)
    : BusQuestion([connection = addRef(connection), name = std::move(name)](GCancellable* ending) {
        constexpr int limitMs = 10'000;
        GVariant* const reply =
            g_dbus_connection_call_sync(connection.get(), name.c_str(), "/", "org.freedesktop.DBus.Peer", "Ping",
                                        nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, limitMs, ending, GErrorSlot());
        if (reply != nullptr) g_variant_unref(reply);
        return reply != nullptr;
      }) {}

}  // namespace quillet
