// SPDX-License-Identifier: MIT
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

#include "Tests/Doubles/BusCalls.h"
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

  /// The process behind a name on a bus, which is started if it can be; -1 if there is none.
  static pid_t ownerAt(const std::string& address, const char* name) {
    const auto bus = BusCalls::connectTo(address);
    if (!bus) return -1;
    BusCalls::call(bus.get(), name, "/", name, "Ping", nullptr);
    const pid_t pid = BusCalls::ownerOf(bus.get(), name);
    return pid == 0 ? -1 : pid;
  }
  static std::string sessionAddress() { return std::getenv("DBUS_SESSION_BUS_ADDRESS"); }
  static std::string accessibilityAddress() {
    return BusCalls::accessibilityAddress(BusCalls::connectTo(sessionAddress()).get());
  }
  static pid_t sessionBus() { return ownerAt(sessionAddress(), "org.freedesktop.DBus"); }
  static pid_t accessibilityBus() { return ownerAt(accessibilityAddress(), "org.freedesktop.DBus"); }
  static pid_t registry() { return ownerAt(accessibilityAddress(), "org.a11y.atspi.Registry"); }
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
