// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <unistd.h>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

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
  static pid_t ownerOf(const QDBusConnection& bus, const char* name) {
    return bus.interface() == nullptr ? 0 : static_cast<pid_t>(bus.interface()->servicePid(name).value());
  }
  /// The process that serves the accessibility bus's address.
  static pid_t launcher() { return ownerOf(QDBusConnection::sessionBus(), "org.a11y.Bus"); }
  static QDBusConnection connectToAccessibilityBus() {
    const auto reply = QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress"));
    return QDBusConnection::connectToBus(reply.arguments().value(0).toString(), "test");
  }
  /// The process that has a name on the accessibility bus: the registry, or the bus itself.
  static pid_t onAccessibilityBus(const char* name) {
    const auto pid = ownerOf(connectToAccessibilityBus(), name);
    QDBusConnection::disconnectFromBus("test");
    return pid;
  }
  /// The registry, which is started if need be, has been told that somebody listens to the focus.
  static bool isListenedTo() {
    const auto reply = connectToAccessibilityBus().call(QDBusMessage::createMethodCall(
        "org.a11y.atspi.Registry", "/org/a11y/atspi/registry", "org.a11y.atspi.Registry", "GetRegisteredEvents"));
    QDBusConnection::disconnectFromBus("test");
    const auto listeners = reply.arguments().value(0).value<QDBusArgument>();
    return listeners.currentType() == QDBusArgument::ArrayType && !listeners.atEnd();
  }
  bool isUsable(const Editor& editor) {
    const auto front = provider.frontApplication();
    if (!front || front->pid != editor.pid()) return false;
    const auto field = provider.focusedElement(editor.pid());
    return field && provider.inspect(field).editable && provider.replaceSelection(field, "x") &&
           provider.readValue(field).has_value();
  }

  StubLock lock;
  KeyTypist typist;
  SystemAccessibilityProvider provider{getpid(), lock, typist};
};

TEST_F(AccessibilityBusLoss, ARegistryThatBeginsAnewIsToldWhatWeListenTo) {
  ASSERT_TRUE(eventually([] { return isListenedTo(); }));
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
