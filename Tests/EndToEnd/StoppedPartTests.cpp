// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <unistd.h>

#include <QRasterWindow>

#include "QuilletCompanion/Platform/Linux/Typing/ModifierState.h"
#include "QuilletCompanion/Platform/Linux/X11/FrontWindow.h"
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
    systemBus.start("dbus-daemon", {"--session", "--nofork", "--address=" + systemAddress()});
    ASSERT_TRUE(eventually([this] { return BusCalls::connectTo(systemAddress().toStdString()) != nullptr; }));
  }
  void TearDown() override {
    systemBus.kill();
    systemBus.waitForFinished();
  }
  QString systemAddress() const { return "unix:path=" + folder.filePath("system-bus"); }

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
  static pid_t displayServer() { return std::atoi(std::getenv("QUILLET_DISPLAY_SERVER")); }
  static pid_t keyring() { return ownerAt(sessionAddress(), "org.freedesktop.secrets"); }
  static pid_t registry() { return ownerAt(accessibilityAddress(), "org.a11y.atspi.Registry"); }
  void startDesktop() {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_DATA_HOME", folder.filePath("data"));
    environment.insert("XDG_CONFIG_HOME", folder.filePath("config"));
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", systemAddress());
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
  QProcess systemBus;
};

TEST_F(StoppedPart, HoldsTheProgramUpNeitherAtItsStartNorInUseNorAtItsEnd) {
  const struct {
    const char* name;
    std::function<pid_t()> find;
  } parts[] = {{"session bus", sessionBus},
               {"accessibility bus", accessibilityBus},
               {"registry", registry},
               {"keyring", keyring},
               {"system bus", [this] { return static_cast<pid_t>(systemBus.processId()); }},
               {"display", displayServer}};
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

TEST_F(StoppedPart, ADisplayThatAnswersAgainIsUsedAgain) {
  QRasterWindow window;
  window.show();
  FrontWindow front;
  ASSERT_TRUE(eventually([&] { return front.owner().has_value(); }));
  ::kill(displayServer(), SIGSTOP);
  const auto begin = steady_clock::now();
  EXPECT_FALSE(front.owner());
  EXPECT_FALSE(ModifierState().modifiersDown());
  EXPECT_LE(steady_clock::now() - begin, 2 * ServerWatch::limit + 1s);
  ::kill(displayServer(), SIGCONT);
  EXPECT_TRUE(eventually([&] { return front.owner().has_value(); }));
}

}  // namespace
}  // namespace quillet::test
