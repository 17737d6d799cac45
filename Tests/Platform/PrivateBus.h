// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <thread>

#include "Tests/Doubles/BusCalls.h"
#include "Tests/Doubles/ChildProcess.h"
#include "Tests/Doubles/Files.h"

namespace quillet::test {

/// Serves the main context until `condition` holds; false if it doesn't within half a minute.
template <typename Condition>
bool eventually(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    if (g_main_context_iteration(nullptr, FALSE) == FALSE) std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

/// A message bus of its own under the address variable of the system or the session bus, which is put back at the end.
class PrivateBus {
 public:
  explicit PrivateBus(GBusType type)
      : type_(type),
        variable_(type == G_BUS_TYPE_SYSTEM ? "DBUS_SYSTEM_BUS_ADDRESS" : "DBUS_SESSION_BUS_ADDRESS"),
        address_("unix:path=" + (folder_.path() / "bus").string()) {
    use();
    start();
  }
  ~PrivateBus() { unsetenv(variable_); }

  /// Ends the bus for everybody on it.
  void stop() {
    client_.reset();
    daemon_.reset();
    std::filesystem::remove(folder_.path() / "bus");
  }
  void start() {
    daemon_ = ChildProcess::quiet({"dbus-daemon", "--nofork", "--nopidfile", "--config-file=" + configuration()});
    // The socket's file is there a moment before anyone listens to it.
    EXPECT_TRUE(eventually([&] {
      client_.reset();
      return callBus("GetId") != nullptr;
    }));
  }

  void use() const { setenv(variable_, address_.c_str(), 1); }
  /// A client that sees what the tested object sees.
  const DBusSignals& client() {
    if (!client_) client_ = std::make_unique<DBusSignals>(type_);
    return *client_;
  }
  bool hasOwner(const char* name) {
    const auto reply = callBus("NameHasOwner", g_variant_new("(s)", name));
    gboolean owned = FALSE;
    if (reply) g_variant_get(reply.get(), "(b)", &owned);
    return owned != FALSE;
  }
  /// Waits until a program serves the name.
  bool awaitOwner(const char* name) {
    return eventually([&] { return hasOwner(name); });
  }
  /// Waits until no program does.
  bool awaitNoOwner(const char* name) {
    return eventually([&] { return !hasOwner(name); });
  }
  /// Sends a signal that its owner didn't, to everybody who subscribed and to every program by its own name.
  void forge(const char* path, const char* interface, const char* member, GVariant* arguments) {
    const GVariantRef owned(g_variant_ref_sink(arguments));
    const auto forger = BusCalls::connectTo(address_);
    const auto emit = [&](const char* to) {
      EXPECT_TRUE(g_dbus_connection_emit_signal(forger.get(), to, path, interface, member, owned.get(), nullptr));
    };
    emit(nullptr);
    const auto names = callBus("ListNames");
    const GVariantRef list(g_variant_get_child_value(names.get(), 0));
    for (gsize i = 0; i < g_variant_n_children(list.get()); ++i) {
      const GVariantRef name(g_variant_get_child_value(list.get(), i));
      const char* const text = g_variant_get_string(name.get(), nullptr);
      if (text[0] == ':') emit(text);
    }
    EXPECT_TRUE(g_dbus_connection_flush_sync(forger.get(), nullptr, nullptr));
  }
  /// Calls the control interface of a mock object.
  bool mock(const char* service, const char* path, const char* method, GVariant* arguments) {
    return client().call(service, path, "org.freedesktop.DBus.Mock", method, arguments) != nullptr;
  }

 private:
  GVariantRef callBus(const char* method, GVariant* arguments = nullptr) {
    return client().call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method, arguments);
  }

  /// Everybody may do everything, and nothing is started on demand.
  std::string configuration() const {
    const auto file = folder_.path() / "bus.conf";
    std::ofstream(file) << "<busconfig><type>session</type><listen>" << address_ << "</listen>"
                        << "<policy context='default'><allow send_destination='*' eavesdrop='true'/>"
                        << "<allow eavesdrop='true'/><allow own='*'/></policy></busconfig>";
    return file.string();
  }

  GBusType type_;
  const char* variable_;
  TemporaryFolder folder_;
  std::string address_;
  std::optional<ChildProcess> daemon_;
  std::unique_ptr<DBusSignals> client_;
};

/// logind as python-dbusmock plays it, with one active session named "c1" that the environment says is ours.
class MockLogind {
 public:
  explicit MockLogind(PrivateBus& bus) : bus_(bus) {
    setenv("XDG_SESSION_ID", "c1", 1);
    start();
  }
  ~MockLogind() { unsetenv("XDG_SESSION_ID"); }

  void start() {
    program_ = ChildProcess::quiet({"/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "logind"});
    EXPECT_TRUE(bus_.awaitOwner(service));
    // The name may be there before the template is. On a busy machine one that didn't answer in time may have added it.
    EXPECT_TRUE(eventually([&] { return addSession("c1") || hasSession("c1"); }));
  }
  void stop() {
    program_.reset();
    EXPECT_TRUE(bus_.awaitNoOwner(service));
  }

  bool addSession(const char* id) {
    return bus_.mock(service, manager, "AddSession", g_variant_new("(ssusb)", id, "seat0", 1000U, "someone", TRUE));
  }
  bool hasSession(const char* id) {
    return bus_.client().call(service, manager, "org.freedesktop.login1.Manager", "GetSession",
                              g_variant_new("(s)", id)) != nullptr;
  }
  bool setSession(const char* property, bool value) { return setSession(property, g_variant_new_boolean(value)); }
  bool setSession(const char* property, GVariant* value, const char* path = session) {
    return bus_.mock(service, path, "UpdateProperties",
                     g_variant_new("(s@a{sv})", "org.freedesktop.login1.Session", dictionary(property, value)));
  }
  /// The session that the user's display is in.
  bool setDisplay(const char* id, const char* path) {
    const auto user = std::string(manager) + "/user/_" + std::to_string(getuid());
    const auto properties = dictionary("Display", g_variant_new("(so)", id, path));
    return bus_.mock(service, manager, "AddObject",
                     g_variant_new("(ss@a{sv}@a(ssss))", user.c_str(), "org.freedesktop.login1.User", properties,
                                   g_variant_new_array(G_VARIANT_TYPE("(ssss)"), nullptr, 0)));
  }
  bool callSession(const char* method) {
    return bus_.client().call(service, session, "org.freedesktop.login1.Session", method, nullptr) != nullptr;
  }
  bool prepareForSleep(bool sleeping) {
    GVariant* const argument = g_variant_new_variant(g_variant_new_boolean(sleeping));
    return bus_.mock(service, manager, "EmitSignal",
                     g_variant_new("(sss@av)", "org.freedesktop.login1.Manager", "PrepareForSleep", "b",
                                   g_variant_new_array(G_VARIANT_TYPE_VARIANT, &argument, 1)));
  }

  static constexpr const char* service = "org.freedesktop.login1";
  static constexpr const char* manager = "/org/freedesktop/login1";
  static constexpr const char* session = "/org/freedesktop/login1/session/c1";

 private:
  static GVariant* dictionary(const char* key, GVariant* value) {
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&builder, "{sv}", key, value);
    return g_variant_builder_end(&builder);
  }

  PrivateBus& bus_;
  std::optional<ChildProcess> program_;
};

}  // namespace quillet::test
