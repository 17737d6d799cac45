// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/ApplicationName.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>

#include "QuilletCompanion/Platform/Linux/Session/BusAttempt.h"

namespace quillet {
namespace {

constexpr const char* interfaceName = "org.freedesktop.Application";
constexpr const char* description = R"(
<node><interface name="org.freedesktop.Application">
  <method name="Activate"><arg type="a{sv}" direction="in"/></method>
  <method name="Open"><arg type="as" direction="in"/><arg type="a{sv}" direction="in"/></method>
  <method name="ActivateAction"><arg type="s" direction="in"/><arg type="av" direction="in"/>
    <arg type="a{sv}" direction="in"/></method>
</interface></node>)";

/// By the interface's own rule.
std::string pathOf(const std::string& name) {
  std::string path = "/" + name;
  std::ranges::replace(path, '.', '/');
  std::ranges::replace(path, '-', '_');
  return path;
}

/// Null unless it answers soon.
GRef<GDBusConnection> sessionBus() {
  const auto address = takeText(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, GErrorSlot()));
  if (!address) return {};
  BusAttempt attempt(*address);
  return attempt.wait(std::chrono::milliseconds(500)) ? attempt.take() : nullptr;
}

}  // namespace

ApplicationName::ApplicationName(const std::string& name, Answer answer, std::function<void()> onActivate)
    : answer_(answer), onActivate_(std::move(onActivate)), name_(name), connection_(sessionBus()) {
  if (connection_ == nullptr) return;
  static constexpr GDBusInterfaceVTable table{called, nullptr, nullptr, {}};
  GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(description, GErrorSlot());
  object_ = g_dbus_connection_register_object(connection_.get(), pathOf(name).c_str(), node->interfaces[0], &table,
                                              this, nullptr, GErrorSlot());
  g_dbus_node_info_unref(node);
  constexpr guint doNotQueue = 4;
  tellBus("RequestName", g_variant_new("(su)", name_.c_str(), doNotQueue));
}

ApplicationName::~ApplicationName() {
  if (connection_ == nullptr) return;
  tellBus("ReleaseName", g_variant_new("(s)", name_.c_str()));
  if (object_ != 0) g_dbus_connection_unregister_object(connection_.get(), object_);
}

/// Without waiting: GLib's own way of giving a name back waits for the bus for up to 25 seconds.
void ApplicationName::tellBus(const char* method, GVariant* arguments) const {
  g_dbus_connection_call(connection_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                         method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
}

/// There are no actions, and nothing that could be opened yet; either shows the program.
void ApplicationName::called(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
                             GDBusMethodInvocation* invocation, void* self) {
  auto& application = *static_cast<ApplicationName*>(self);
  if (application.answer_ == Answer::shows) {
    g_dbus_method_invocation_return_value(invocation, nullptr);
  } else {
    g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.DBus.Error.NotSupported",
                                               "It has no windows.");
  }
  application.onActivate_();
}

bool ApplicationName::activate(const std::string& name) {
  const DBusSignals bus(G_BUS_TYPE_SESSION);
  const auto answer =
      bus.call(name.c_str(), pathOf(name).c_str(), interfaceName, "Activate", g_variant_new("(a{sv})", nullptr));
  return answer != nullptr;
}

}  // namespace quillet
