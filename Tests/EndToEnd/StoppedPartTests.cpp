// SPDX-License-Identifier: MIT
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

#include "QuilletCompanion/Platform/Linux/Session/DBusSignals.h"
#include "Tests/EndToEnd/Programs.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

/// The program beside parts of the desktop that are stopped: they keep their connections and answer nothing.
class StoppedPart : public testing::Test {
 protected:
  void SetUp() override {
    const auto environment = QProcessEnvironment::systemEnvironment();
    service.start("quillet-service", {"--listen", "127.0.0.1:0", "--database", folder.filePath("service.db")},
                  environment);
    url = QString(service.readLine()).trimmed().section(' ', -1);
    ASSERT_TRUE(url.startsWith("http://"));
  }

  static GVariantRef call(GDBusConnection* bus, const char* name, const char* path, const char* method,
                          GVariant* arguments) {
    return GVariantRef(g_dbus_connection_call_sync(bus, name, path, name, method, arguments, nullptr,
                                                   G_DBUS_CALL_FLAGS_NONE, 2000, nullptr, GErrorSlot()));
  }
  static GRef<GDBusConnection> busAt(const char* address) {
    constexpr auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                             G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    return GRef<GDBusConnection>(
        g_dbus_connection_new_for_address_sync(address, flags, nullptr, nullptr, GErrorSlot()));
  }
  /// The process behind a name on the bus at `address`; -1 if there is none.
  static pid_t ownerAt(const char* address, const char* name) {
    const auto bus = busAt(address);
    if (!bus) return -1;
    // Starts who can be started.
    call(bus.get(), name, "/", "Ping", nullptr);
    const auto reply = call(bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "GetConnectionUnixProcessID",
                            g_variant_new("(s)", name));
    guint32 pid = 0;
    if (reply) g_variant_get(reply.get(), "(u)", &pid);
    return pid == 0 ? -1 : static_cast<pid_t>(pid);
  }
  static pid_t sessionBus() { return ownerAt(std::getenv("DBUS_SESSION_BUS_ADDRESS"), "org.freedesktop.DBus"); }
  static std::string accessibilityAddress() {
    const auto bus = busAt(std::getenv("DBUS_SESSION_BUS_ADDRESS"));
    const auto reply = call(bus.get(), "org.a11y.Bus", "/org/a11y/bus", "GetAddress", nullptr);
    const char* address = "";
    if (reply) g_variant_get(reply.get(), "(&s)", &address);
    return address;
  }
  static pid_t accessibilityBus() { return ownerAt(accessibilityAddress().c_str(), "org.freedesktop.DBus"); }
  static pid_t registry() { return ownerAt(accessibilityAddress().c_str(), "org.a11y.atspi.Registry"); }
  void startDesktop() {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_DATA_HOME", folder.filePath("data"));
    environment.insert("XDG_CONFIG_HOME", folder.filePath("config"));
    desktop.start("QuilletCompanion", {"--terminal", "--json", "-QLTServerURLOverride", url}, environment);
  }
  /// The program takes a command before it gets impatient with anybody.
  void expectAnswer() {
    const auto begin = steady_clock::now();
    desktop.say("status\n");
    EXPECT_TRUE(desktop.await([](const QJsonObject& line) { return line["answer"] == "status"; }));
    EXPECT_LE(steady_clock::now() - begin, 3s);
  }
  void quit() {
    const auto begin = steady_clock::now();
    desktop.say("quit\n");
    EXPECT_EQ(desktop.exitCode(), 0);
    EXPECT_LE(steady_clock::now() - begin, 7s);  // a question to the keyring takes 5 at most
  }

  QTemporaryDir folder;
  QString url;
  Program service, desktop;
};

TEST_F(StoppedPart, HoldsTheProgramUpNeitherAtItsStartNorInUseNorAtItsEnd) {
  const struct {
    const char* name;
    pid_t (*find)();
  } parts[] = {{"session bus", sessionBus}, {"accessibility bus", accessibilityBus}, {"registry", registry}};
  for (const auto& part : parts) {
    SCOPED_TRACE(part.name);
    const pid_t pid = part.find();
    ASSERT_GT(pid, 1);
    ::kill(pid, SIGSTOP);
    startDesktop();
    for (int i = 0; i < 2; ++i) expectAnswer();
    quit();
    ::kill(pid, SIGCONT);

    startDesktop();
    expectAnswer();
    ::kill(pid, SIGSTOP);
    for (int i = 0; i < 2; ++i) expectAnswer();
    quit();
    ::kill(pid, SIGCONT);
  }
}

}  // namespace
}  // namespace quillet::test
