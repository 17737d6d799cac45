// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiBatch.h"

namespace quillet {
namespace {

constexpr const char* properties = "org.freedesktop.DBus.Properties";

std::string fullName(const char* interface) {
  return std::string("org.a11y.atspi.") + interface;
}

void append(DBusMessage& message, const AtspiBatch::Argument& argument) {
  if (const auto* number = std::get_if<int>(&argument)) {
    const dbus_int32_t value = *number;
    dbus_message_append_args(&message, DBUS_TYPE_INT32, &value, DBUS_TYPE_INVALID);
  } else {
    dbus_message_append_args(&message, DBUS_TYPE_STRING, std::get_if<const char*>(&argument), DBUS_TYPE_INVALID);
  }
}

}  // namespace

void AtspiBatch::GiveUp::operator()(DBusPendingCall* call) const {
  if (dbus_pending_call_get_completed(call) == FALSE) dbus_pending_call_cancel(call);
  dbus_pending_call_unref(call);
}

AtspiBatch::AtspiBatch(AtspiAccessible* accessible, std::chrono::milliseconds limit)
    : object_(accessible->parent), limit_(limit), start_(std::chrono::steady_clock::now()) {}

AtspiBatch::~AtspiBatch() = default;

AtspiBatch::Message AtspiBatch::message(const char* interface, const char* method) const {
  const bool reachable = object_.app != nullptr && object_.app->bus != nullptr && object_.path != nullptr;
  return Message(reachable ? dbus_message_new_method_call(object_.app->bus_name, object_.path, interface, method)
                           : nullptr);
}

AtspiBatch::Index AtspiBatch::call(const char* interface, const char* method,
                                   std::initializer_list<Argument> arguments) {
  auto made = message(fullName(interface).c_str(), method);
  for (const auto& argument : arguments) {
    if (made) append(*made, argument);
  }
  return send(std::move(made));
}

AtspiBatch::Index AtspiBatch::property(const char* interface, const char* name) {
  auto made = message(properties, "Get");
  const auto full = fullName(interface);
  if (made) append(*made, full.c_str());
  if (made) append(*made, name);
  return send(std::move(made));
}

AtspiBatch::Index AtspiBatch::send(Message message) {
  DBusPendingCall* pending = nullptr;
  if (message) {
    dbus_connection_send_with_reply(object_.app->bus, message.get(), &pending, static_cast<int>(limit_.count()));
  }
  calls_.emplace_back(pending);
  replies_.emplace_back();
  return calls_.size() - 1;
}

/// The last first: its answer comes after the others, which then need no waiting, and a hung application costs one
/// limit instead of one for each call.
void AtspiBatch::wait() {
  for (Index index = calls_.size(); index-- > 0;) await(index);
  calls_.clear();
}

void AtspiBatch::await(Index index) {
  auto* const pending = calls_[index].get();
  if (pending == nullptr) return;
  if (dbus_pending_call_get_completed(pending) == FALSE) {
    if (std::chrono::steady_clock::now() - start_ >= limit_) return;
    dbus_pending_call_block(pending);
  }
  Message reply(dbus_pending_call_steal_reply(pending));
  if (reply && dbus_message_get_type(reply.get()) == DBUS_MESSAGE_TYPE_METHOD_RETURN) {
    replies_[index] = std::move(reply);
  }
}

bool AtspiBatch::valueOf(Index index, int type, void* value) const {
  DBusMessageIter all, boxed;
  if (!succeeded(index) || dbus_message_iter_init(replies_[index].get(), &all) == FALSE) return false;
  auto* at = &all;
  if (dbus_message_iter_get_arg_type(at) == DBUS_TYPE_VARIANT) {
    dbus_message_iter_recurse(&all, &boxed);
    at = &boxed;
  }
  if (dbus_message_iter_get_arg_type(at) != type) return false;
  dbus_message_iter_get_basic(at, value);
  return true;
}

std::optional<int> AtspiBatch::number(Index index) const {
  dbus_int32_t number = 0;
  dbus_uint32_t natural = 0;
  if (valueOf(index, DBUS_TYPE_INT32, &number)) return number;
  if (valueOf(index, DBUS_TYPE_UINT32, &natural)) return static_cast<int>(natural);
  return std::nullopt;
}

std::optional<std::string> AtspiBatch::text(Index index) const {
  const char* text = nullptr;
  if (!valueOf(index, DBUS_TYPE_STRING, &text)) return std::nullopt;
  return text;
}

}  // namespace quillet
