// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/DBusSignals.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "QuilletCompanion/Platform/Linux/Session/BusAttempt.h"

namespace quillet {
namespace {

constexpr guint longestRetrySeconds = 60;
/// For a bus to answer, in which it can be waited for; it usually takes some milliseconds.
constexpr std::chrono::milliseconds answersWithin{500};
constexpr auto clientFlags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                               G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);

std::optional<std::string> addressOf(GBusType bus) {
  return takeText(g_dbus_address_get_for_bus_sync(bus, nullptr, GErrorSlot()));
}

void deliver(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* arguments, void* handler) {
  // A copy: the handler may end its own subscription.
  const DBusSignals::Handler running = *static_cast<DBusSignals::Handler*>(handler);
  running(arguments);
}

void destroyHandler(void* handler) {
  delete static_cast<DBusSignals::Handler*>(handler);
}

bool wasCancelled(const GError* error) {
  return g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED) != FALSE;
}

}  // namespace

DBusSignals::DBusSignals(GBusType bus) : bus_(bus) {
  const auto address = addressOf(bus_);
  if (!address) return;
  BusAttempt attempt(*address);
  if (attempt.wait(answersWithin)) {
    adopt(attempt.take());
  } else {
    retryLater();
  }
}

DBusSignals::~DBusSignals() {
  g_cancellable_cancel(ending_.get());
  if (retry_ != 0) g_source_remove(retry_);
  drop();
}

void DBusSignals::subscribe(const char* sender, const char* interface, const char* member, const char* path,
                            Handler handler) {
  subscriptions_.push_back({sender, interface, member,
                            path != nullptr ? std::optional<std::string>(path) : std::nullopt, std::move(handler)});
  activate(subscriptions_.back());
}

void DBusSignals::watchName(const char* name, std::function<void()> appeared, std::function<void()> vanished) {
  names_.push_back({name, std::move(appeared), std::move(vanished)});
  activate(names_.back());
}

GVariantRef DBusSignals::call(const char* service, const char* path, const char* interface, const char* method,
                              GVariant* arguments, GDBusCallFlags flags, std::chrono::milliseconds limit) const {
  const GVariantRef owned(arguments == nullptr ? nullptr : g_variant_ref_sink(arguments));
  if (!connection_) return nullptr;
  return GVariantRef(g_dbus_connection_call_sync(connection_.get(), service, path, interface, method, owned.get(),
                                                 nullptr, flags, static_cast<int>(limit.count()), nullptr,
                                                 GErrorSlot()));
}

void DBusSignals::callLater(const char* service, const char* path, const char* interface, const char* method,
                            GVariant* arguments, Reply reply) const {
  const GVariantRef owned(arguments == nullptr ? nullptr : g_variant_ref_sink(arguments));
  if (!connection_) return refuseLater(std::move(reply));
  const auto finish = [](GObject* connection, GAsyncResult* result, void* data) {
    const std::unique_ptr<Reply> told(static_cast<Reply*>(data));
    GUnixFDList* received = nullptr;
    GError* failure = nullptr;
    const GVariantRef answer(
        g_dbus_connection_call_with_unix_fd_list_finish(G_DBUS_CONNECTION(connection), &received, result, &failure));
    const GRef<GUnixFDList> descriptors(received);
    const std::unique_ptr<GError, decltype(&g_error_free)> error(failure, &g_error_free);
    if (!wasCancelled(failure)) (*told)(answer.get(), descriptors.get());
  };
  g_dbus_connection_call_with_unix_fd_list(connection_.get(), service, path, interface, method, owned.get(), nullptr,
                                           G_DBUS_CALL_FLAGS_NO_AUTO_START, static_cast<int>(callLimit.count()),
                                           nullptr, ending_.get(), finish, new Reply(std::move(reply)));
}

void DBusSignals::refuseLater(Reply reply) const {
  struct Refusal {
    Reply reply;
    GRef<GCancellable> ending;
  };
  const auto refuse = [](void* data) -> gboolean {
    const auto* const refusal = static_cast<Refusal*>(data);
    if (g_cancellable_is_cancelled(refusal->ending.get()) == FALSE) refusal->reply(nullptr, nullptr);
    return G_SOURCE_REMOVE;
  };
  g_idle_add_full(G_PRIORITY_DEFAULT, refuse, new Refusal{std::move(reply), addRef(ending_.get())},
                  [](void* data) { delete static_cast<Refusal*>(data); });
}

void DBusSignals::closed(GDBusConnection*, gboolean, GError*, void* data) {
  auto* const self = static_cast<DBusSignals*>(data);
  self->drop();
  self->retryLater();
  for (auto& name : self->names_) {
    if (std::exchange(name.present, false) && name.vanished) name.vanished();
  }
}

void DBusSignals::retryLater() {
  retry_ = g_timeout_add_seconds(retrySeconds_, reconnect, this);
  retrySeconds_ = std::min(retrySeconds_ * 2, longestRetrySeconds);
}

gboolean DBusSignals::reconnect(void* data) {
  auto* const self = static_cast<DBusSignals*>(data);
  self->retry_ = 0;
  const auto address = addressOf(self->bus_);
  if (!address) {
    self->retryLater();
    return G_SOURCE_REMOVE;
  }
  const auto finish = [](GObject*, GAsyncResult* result, void* owner) {
    GError* failure = nullptr;
    GRef<GDBusConnection> connection(g_dbus_connection_new_for_address_finish(result, &failure));
    const std::unique_ptr<GError, decltype(&g_error_free)> error(failure, &g_error_free);
    if (wasCancelled(failure)) return;  // the owner is gone
    if (connection) {
      static_cast<DBusSignals*>(owner)->adopt(std::move(connection));
    } else {
      static_cast<DBusSignals*>(owner)->retryLater();
    }
  };
  g_dbus_connection_new_for_address(address->c_str(), clientFlags, nullptr, self->ending_.get(), finish, self);
  return G_SOURCE_REMOVE;
}

void DBusSignals::adopt(GRef<GDBusConnection> connection) {
  connection_ = std::move(connection);
  if (!connection_) return;
  retrySeconds_ = 1;
  closedSignal_ = g_signal_connect(connection_.get(), "closed", G_CALLBACK(closed), this);
  for (auto& subscription : subscriptions_) activate(subscription);
  for (auto& name : names_) activate(name);
}

void DBusSignals::drop() {
  if (!connection_) return;
  g_signal_handler_disconnect(connection_.get(), closedSignal_);
  for (auto& subscription : subscriptions_) {
    g_dbus_connection_signal_unsubscribe(connection_.get(), std::exchange(subscription.id, 0U));
  }
  for (auto& name : names_) g_bus_unwatch_name(std::exchange(name.id, 0U));
  connection_.reset();
}

void DBusSignals::activate(Subscription& subscription) {
  if (!connection_) return;
  subscription.id = g_dbus_connection_signal_subscribe(
      connection_.get(), subscription.sender.c_str(), subscription.interface.c_str(), subscription.member.c_str(),
      subscription.path ? subscription.path->c_str() : nullptr, nullptr, G_DBUS_SIGNAL_FLAGS_NONE, deliver,
      new Handler(subscription.handler), destroyHandler);
}

void DBusSignals::activate(Name& name) {
  if (!connection_) return;
  const auto appeared = [](GDBusConnection*, const char*, const char*, void* data) {
    auto* const self = static_cast<Name*>(data);
    self->present = true;
    if (self->appeared) self->appeared();
  };
  const auto vanished = [](GDBusConnection*, const char*, void* data) {
    auto* const self = static_cast<Name*>(data);
    if (std::exchange(self->present, false) && self->vanished) self->vanished();
  };
  name.id = g_bus_watch_name_on_connection(connection_.get(), name.name.c_str(), G_BUS_NAME_WATCHER_FLAGS_NONE,
                                           appeared, vanished, &name, nullptr);
}

}  // namespace quillet
