// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/BusAttempt.h"

#include <chrono>
#include <utility>

namespace quillet {

bool BusPatience::wait(Duration limit) {
  using std::chrono::milliseconds;
  bool over = false;
  const auto end = [](void* flag) -> gboolean {
    *static_cast<bool*>(flag) = true;
    return G_SOURCE_REMOVE;
  };
  GSource* const timer =
      g_timeout_source_new(static_cast<guint>(std::chrono::duration_cast<milliseconds>(limit).count()));
  g_source_set_callback(timer, end, &over, nullptr);
  g_source_attach(timer, context_.get());
  while (!outcome_->known && !over) g_main_context_iteration(context_.get(), TRUE);
  g_source_destroy(timer);
  g_source_unref(timer);
  return outcome_->known;
}

BusAttempt::BusAttempt(const std::string& address) {
  constexpr auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                           G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  const auto finish = [](GObject*, GAsyncResult* result, void* data) {
    const std::unique_ptr<std::shared_ptr<Outcome>> outcome(static_cast<std::shared_ptr<Outcome>*>(data));
    (*outcome)->connection.reset(g_dbus_connection_new_for_address_finish(result, GErrorSlot()));
    (*outcome)->known = true;
  };
  g_main_context_push_thread_default(context_.get());
  g_dbus_connection_new_for_address(address.c_str(), flags, nullptr, ending_.get(), finish,
                                    new std::shared_ptr<Outcome>(outcome_));
  g_main_context_pop_thread_default(context_.get());
}

GRef<GDBusConnection> BusAttempt::take() {
  return std::move(outcome_->connection);
}

BusPing::BusPing(GDBusConnection* connection, const char* name) {
  constexpr int limitMs = 10'000;
  const auto finish = [](GObject* asked, GAsyncResult* result, void* data) {
    const std::unique_ptr<std::shared_ptr<Outcome>> outcome(static_cast<std::shared_ptr<Outcome>*>(data));
    GVariant* const reply = g_dbus_connection_call_finish(G_DBUS_CONNECTION(asked), result, GErrorSlot());
    (*outcome)->answered = reply != nullptr;
    (*outcome)->known = true;
    if (reply != nullptr) g_variant_unref(reply);
  };
  g_main_context_push_thread_default(context_.get());
  g_dbus_connection_call(connection, name, "/", "org.freedesktop.DBus.Peer", "Ping", nullptr, nullptr,
                         G_DBUS_CALL_FLAGS_NONE, limitMs, ending_.get(), finish,
                         new std::shared_ptr<Outcome>(outcome_));
  g_main_context_pop_thread_default(context_.get());
}

}  // namespace quillet
