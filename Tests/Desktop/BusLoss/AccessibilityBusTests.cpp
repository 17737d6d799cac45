// SPDX-License-Identifier: MIT
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "QuilletCompanion/Platform/Linux/DBusSignals.h"
#include "QuilletCompanion/Platform/Linux/SystemAccessibilityProvider.h"
#include "Tests/Desktop/Editor.h"
#include "Tests/Desktop/StubLock.h"

namespace quillet::test {
namespace {

class AccessibilityBusLoss : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(eventually([this] { return provider.enableAccessibility(); }));
  }
  static GVariantRef call(GDBusConnection* bus, const char* name, const char* path, const char* method,
                          GVariant* arguments) {
    return GVariantRef(g_dbus_connection_call_sync(bus, name, path, name, method, arguments, nullptr,
                                                   G_DBUS_CALL_FLAGS_NONE, 2000, nullptr, GErrorSlot()));
  }
  static pid_t ownerOf(GDBusConnection* bus, const char* name) {
    const auto reply = call(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "GetConnectionUnixProcessID",
                            g_variant_new("(s)", name));
    guint32 pid = 0;
    if (reply) g_variant_get(reply.get(), "(u)", &pid);
    return static_cast<pid_t>(pid);
  }
  GRef<GDBusConnection> connectToAccessibilityBus() const {
    const auto reply = call(session.get(), "org.a11y.Bus", "/org/a11y/bus", "GetAddress", nullptr);
    const char* address = "";
    if (reply) g_variant_get(reply.get(), "(&s)", &address);
    constexpr auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                             G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    return GRef<GDBusConnection>(
        g_dbus_connection_new_for_address_sync(address, flags, nullptr, nullptr, GErrorSlot()));
  }
  /// The process that serves the accessibility bus's address.
  pid_t launcher() const { return ownerOf(session.get(), "org.a11y.Bus"); }
  /// The process that has a name on the accessibility bus: the registry, or the bus itself.
  pid_t onAccessibilityBus(const char* name) const {
    const auto bus = connectToAccessibilityBus();
    return bus ? ownerOf(bus.get(), name) : 0;
  }
  /// The registry, which is started if need be, has been told that somebody listens to the focus.
  bool isListenedTo() const {
    const auto bus = connectToAccessibilityBus();
    if (!bus) return false;
    const auto reply =
        call(bus.get(), "org.a11y.atspi.Registry", "/org/a11y/atspi/registry", "GetRegisteredEvents", nullptr);
    if (!reply) return false;
    const GVariantRef listeners(g_variant_get_child_value(reply.get(), 0));
    return g_variant_n_children(listeners.get()) > 0;
  }
  bool isUsable(const Editor& editor) {
    const auto front = provider.frontApplication();
    if (!front || front->pid != editor.pid()) return false;
    const auto field = provider.focusedElement(editor.pid());
    return field && provider.inspect(field).editable && provider.replaceSelection(field, "x") &&
           provider.readValue(field).has_value();
  }

  GRef<GDBusConnection> session{g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr)};
  StubLock lock;
  KeyTypist typist;
  SystemAccessibilityProvider provider{getpid(), lock, typist};
};

TEST_F(AccessibilityBusLoss, ARegistryThatBeginsAnewIsToldWhatWeListenTo) {
  ASSERT_TRUE(eventually([this] { return isListenedTo(); }));
  for (int round = 0; round < 3; ++round) {
    const auto pid = onAccessibilityBus("org.a11y.atspi.Registry");
    ASSERT_GT(pid, 1);
    ::kill(pid, SIGKILL);
    EXPECT_TRUE(eventually([&] { return onAccessibilityBus("org.a11y.atspi.Registry") != pid && isListenedTo(); }));
  }
  const Editor editor("mousepad");
  EXPECT_TRUE(eventually([&] { return isUsable(editor); }));
}

/// The last one: libatspi has no second life in a process.
TEST_F(AccessibilityBusLoss, ABusThatEndsIsToldAsAStaleGrant) {
  const Editor editor("featherpad", {Editor::emptyFile});
  ASSERT_TRUE(eventually([&] { return isUsable(editor); }));
  EXPECT_FALSE(provider.isGrantStale());
  for (const auto pid : {onAccessibilityBus("org.freedesktop.DBus"), launcher()}) {
    ASSERT_GT(pid, 1);
    ::kill(pid, SIGKILL);
  }
  EXPECT_TRUE(eventually([this] { return provider.enableAccessibility() && provider.isGrantStale(); }));
  const Editor after("mousepad");
  EXPECT_TRUE(eventually([&] {
    const auto front = provider.frontApplication();
    return front && front->pid == after.pid();
  }));
  EXPECT_FALSE(provider.focusedElement(after.pid()));
}

}  // namespace
}  // namespace quillet::test
