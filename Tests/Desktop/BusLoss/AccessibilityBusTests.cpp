// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <span>

#include "QuilletCompanion/Platform/Linux/Accessibility/SystemAccessibilityProvider.h"
#include "Tests/Desktop/Editor.h"
#include "Tests/Doubles/BusCalls.h"

namespace quillet::test {
namespace {

class AccessibilityBusFault : public testing::Test {
 protected:
  GRef<GDBusConnection> connectToAccessibilityBus() const {
    return BusCalls::connectTo(BusCalls::accessibilityAddress(session.get()));
  }
  /// The process that serves the accessibility bus's address.
  pid_t launcher() const { return BusCalls::ownerOf(session.get(), "org.a11y.Bus"); }
  /// The process that has a name on the accessibility bus: the registry, or the bus itself.
  pid_t onAccessibilityBus(const char* name) const {
    const auto bus = connectToAccessibilityBus();
    return bus ? BusCalls::ownerOf(bus.get(), name) : 0;
  }
  /// The registry, which is started if need be, has been told that somebody listens to the focus.
  bool isListenedTo() const {
    const auto bus = connectToAccessibilityBus();
    if (!bus) return false;
    const auto reply = BusCalls::call(bus.get(), "org.a11y.atspi.Registry", "/org/a11y/atspi/registry",
                                      "org.a11y.atspi.Registry", "GetRegisteredEvents", nullptr);
    if (!reply) return false;
    const GVariantRef listeners(g_variant_get_child_value(reply.get(), 0));
    return g_variant_n_children(listeners.get()) > 0;
  }

  GRef<GDBusConnection> session{g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr)};
  StubLock lock;
  KeyTypist typist;
};

/// Before anything in this process has connected.
TEST_F(AccessibilityBusFault, ABusThatHangsIsWaitedForInPartsOnly) {
  const auto pid = onAccessibilityBus("org.freedesktop.DBus");
  ASSERT_GT(pid, 1);
  AccessibilityBus::reserveEnvironment();
  char** const variables = environ;
  const std::vector<char*> before(variables, variables + g_strv_length(variables));
  ::kill(pid, SIGSTOP);
  {
    SystemAccessibilityProvider provider{getpid(), lock, typist};
    EXPECT_FALSE(provider.enableAccessibility());
  }
  SystemAccessibilityProvider provider{getpid(), lock, typist};
  for (int poll = 0; poll < 3; ++poll) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(provider.enableAccessibility());
    EXPECT_LE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
  }
  ::kill(pid, SIGCONT);
  EXPECT_TRUE(eventually([&] { return provider.isTrusted() && !provider.isGrantStale(); }));
  EXPECT_TRUE(environ == variables && std::ranges::equal(before, std::span(variables, before.size())));
  EXPECT_EQ(std::getenv("AT_SPI_BUS_ADDRESS"), nullptr) << "for who reads the environment at any time";
}

class AccessibilityBusLoss : public AccessibilityBusFault {
 protected:
  void SetUp() override {
    ASSERT_TRUE(eventually([this] { return provider.enableAccessibility(); }));
  }
  bool isUsable(const Editor& editor) {
    const auto front = provider.frontApplication();
    if (!front || front->pid != editor.pid()) return false;
    const auto field = provider.focusedElement(editor.pid());
    return field && provider.inspect(field).editable && provider.replaceSelection(field, "x") &&
           provider.readValue(field).has_value();
  }

  void setEnabled(bool enabled) const {
    BusCalls::call(
        session.get(), "org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", "Set",
        g_variant_new("(ssv)", "org.a11y.Status", "IsEnabled", g_variant_new_boolean(enabled ? TRUE : FALSE)));
  }

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

/// Counts what anybody asks the accessibility service.
class QuestionCount {
 public:
  QuestionCount() {
    const auto address = takeText(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, GErrorSlot()));
    monitor_ = BusCalls::connectTo(address.value());
    const auto count = [](GDBusConnection*, GDBusMessage* message, gboolean, void* self) -> GDBusMessage* {
      if (g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL) return message;
      auto& counted = *static_cast<QuestionCount*>(self);
      const std::string member = g_dbus_message_get_member(message);
      if (member == "BecomeMonitor") return message;
      if (member == "Ping") counted.over_ = true;
      if (member == "Get" || member == "GetAddress") ++counted.questions_;
      g_object_unref(message);  // a monitor that answers is thrown out
      return nullptr;
    };
    g_dbus_connection_add_filter(monitor_.get(), count, this, nullptr);
    const char* rules[] = {"destination='org.a11y.Bus'", nullptr};
    EXPECT_TRUE(BusCalls::call(monitor_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                               "org.freedesktop.DBus.Monitoring", "BecomeMonitor", g_variant_new("(^asu)", rules, 0U)));
  }
  ~QuestionCount() { g_dbus_connection_close_sync(monitor_.get(), nullptr, GErrorSlot()); }
  /// How many questions there were until now.
  int questions() {
    over_ = false;
    g_dbus_connection_call(monitored_.get(), "org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Peer", "Ping",
                           nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, 2000, nullptr, nullptr, nullptr);
    EXPECT_TRUE(eventually([this] { return over_.load(); }));
    return questions_;
  }

 private:
  std::atomic<bool> over_ = false;
  std::atomic<int> questions_ = 0;
  GRef<GDBusConnection> monitored_{g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr)};
  GRef<GDBusConnection> monitor_;
};

TEST_F(AccessibilityBusLoss, WhatOthersSwitchIsSeenAndNothingIsAskedMeanwhile) {
  QuestionCount count;
  for (const bool on : {false, true}) {
    setEnabled(on);
    EXPECT_TRUE(eventually([&] { return provider.isTrusted() == on; })) << on;
  }
  EXPECT_TRUE(eventually([&] { return provider.isTrusted() && !provider.isGrantStale(); }));
  const int before = count.questions();
  EXPECT_GT(before, 0);
  for (int poll = 0; poll < 100; ++poll) EXPECT_TRUE(provider.isTrusted() && !provider.isGrantStale());
  EXPECT_LE(count.questions(), before + 4);  // half a minute may end meanwhile
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
  EXPECT_TRUE(eventually([this] { return !provider.isTrusted(); })) << "the next service is off";
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
