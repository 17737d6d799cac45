// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/DBusSignals.h"

#include <utility>

namespace quillet {
namespace {

constexpr int callTimeoutMs = 1000;

void deliver(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* arguments, void* handler) {
  // A copy: the handler may end its own subscription.
  const DBusSignals::Handler running = *static_cast<DBusSignals::Handler*>(handler);
  running(arguments);
}

void destroyHandler(void* handler) {
  delete static_cast<DBusSignals::Handler*>(handler);
}

}  // namespace

DBusSignals::DBusSignals(GBusType bus) {
  const auto address = takeText(g_dbus_address_get_for_bus_sync(bus, nullptr, GErrorSlot()));
  if (!address) return;
  constexpr auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                           G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  connection_.reset(g_dbus_connection_new_for_address_sync(address->c_str(), flags, nullptr, nullptr, GErrorSlot()));
}

DBusSignals::~DBusSignals() {
  for (const guint id : subscriptions_) g_dbus_connection_signal_unsubscribe(connection_.get(), id);
}

void DBusSignals::subscribe(const char* sender, const char* interface, const char* member, const char* path,
                            Handler handler) {
  if (!connection_) return;
  subscriptions_.push_back(g_dbus_connection_signal_subscribe(connection_.get(), sender, interface, member, path,
                                                              nullptr, G_DBUS_SIGNAL_FLAGS_NONE, deliver,
                                                              new Handler(std::move(handler)), destroyHandler));
}

GVariantRef DBusSignals::call(const char* service, const char* path, const char* interface, const char* method,
                              GVariant* arguments) const {
  const GVariantRef owned(arguments == nullptr ? nullptr : g_variant_ref_sink(arguments));
  if (!connection_) return nullptr;
  return GVariantRef(g_dbus_connection_call_sync(connection_.get(), service, path, interface, method, owned.get(),
                                                 nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, callTimeoutMs, nullptr,
                                                 GErrorSlot()));
}

}  // namespace quillet
