// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/LinuxScreenLockMonitor.h"

#include "Tests/Doubles/Rows.h"
#include "Tests/Platform/PrivateBus.h"

namespace quillet {
namespace {

using namespace test;

/// A screen saver on the session bus.
class MockSaver {
 public:
  MockSaver(PrivateBus& bus, const char* name, const char* path) : bus_(bus), name_(name), path_(path) {
    EXPECT_TRUE(bus_.awaitOwner(name_));
    EXPECT_TRUE(answers(false));
  }
  ~MockSaver() {
    program_.end(SIGKILL);
    EXPECT_TRUE(bus_.awaitNoOwner(name_));
  }

  bool answers(bool active) {
    return bus_.mock(name_, path_, "AddMethod",
                     g_variant_new("(sssss)", name_, "GetActive", "", "b", active ? "ret = True" : "ret = False"));
  }
  bool signals(bool active) {
    GVariant* const argument = g_variant_new_variant(g_variant_new_boolean(active));
    return bus_.mock(name_, path_, "EmitSignal",
                     g_variant_new("(sss@av)", name_, "ActiveChanged", "b",
                                   g_variant_new_array(G_VARIANT_TYPE_VARIANT, &argument, 1)));
  }

 private:
  PrivateBus& bus_;
  const char *name_, *path_;
  test::ChildProcess program_ =
      test::ChildProcess::quiet({"/usr/bin/python3", "-m", "dbusmock", "--session", name_, path_, name_});
};

class LinuxScreenLockMonitorTest : public testing::Test {
 protected:
  /// Counts its changes from now on.
  void count(LinuxScreenLockMonitor& monitor) {
    monitor.onChange = [this] { ++changes; };
  }

  int changes = 0;
  PrivateBus systemBus{G_BUS_TYPE_SYSTEM};
  PrivateBus sessionBus{G_BUS_TYPE_SESSION};
  MockLogind logind{systemBus};
};

TEST_F(LinuxScreenLockMonitorTest, KnowsAtStartWhatTheSessionSays) {
  ASSERT_TRUE(logind.setSession("LockedHint", true));
  LinuxScreenLockMonitor locked;
  EXPECT_FALSE(locked.lockedByNotification());
  EXPECT_TRUE(locked.isScreenLocked());

  ASSERT_TRUE(logind.setSession("LockedHint", false));
  LinuxScreenLockMonitor unlocked;
  EXPECT_FALSE(unlocked.isLocked());

  ASSERT_TRUE(logind.setSession("Active", false));
  LinuxScreenLockMonitor inBackground;
  EXPECT_TRUE(inBackground.isScreenLocked());
}

TEST_F(LinuxScreenLockMonitorTest, FollowsScreenSavers) {
  LinuxScreenLockMonitor monitor;
  for (const auto& [name, path] : {std::pair("org.freedesktop.ScreenSaver", "/ScreenSaver"),
                                   std::pair("org.gnome.ScreenSaver", "/org/gnome/ScreenSaver"),
                                   std::pair("org.cinnamon.ScreenSaver", "/org/cinnamon/ScreenSaver"),
                                   std::pair("org.mate.ScreenSaver", "/org/mate/ScreenSaver"),
                                   std::pair("org.xfce.ScreenSaver", "/org/xfce/ScreenSaver")}) {
    MockSaver saver(sessionBus, name, path);
    for (const bool active : {true, false, true}) {
      EXPECT_TRUE(saver.signals(active) && eventually([&] { return monitor.lockedByNotification() == active; }))
          << name << active;
    }
  }
  EXPECT_TRUE(eventually([&] { return !monitor.isLocked(); })) << "a screen saver that is gone locks nothing";
}

TEST_F(LinuxScreenLockMonitorTest, AsksAScreenSaverThatWasThereBefore) {
  MockSaver saver(sessionBus, "org.mate.ScreenSaver", "/org/mate/ScreenSaver");
  ASSERT_TRUE(saver.answers(true));
  LinuxScreenLockMonitor monitor;
  count(monitor);
  EXPECT_TRUE(eventually([&] { return monitor.isScreenLocked(); }));
  EXPECT_EQ(changes, 1);
  EXPECT_FALSE(monitor.lockedByNotification());
  EXPECT_TRUE(saver.signals(false) && eventually([&] { return !monitor.isLocked(); }));
}

TEST_F(LinuxScreenLockMonitorTest, IsLockedWhileAnySourceSaysSo) {
  MockSaver saver(sessionBus, "org.gnome.ScreenSaver", "/org/gnome/ScreenSaver");
  LinuxScreenLockMonitor monitor;
  count(monitor);
  const std::map<std::string, std::function<bool(bool)>> sources{
      {"hint", [&](bool locked) { return logind.setSession("LockedHint", locked); }},
      {"saver", [&](bool active) { return saver.signals(active); }},
      {"request", [&](bool lock) { return logind.callSession(lock ? "Lock" : "Unlock"); }},
      {"active", [&](bool ours) { return logind.setSession("Active", ours); }}};
  using Step = std::tuple<std::string, std::string, bool, bool>;
  for (const auto& [what, source, on, locked] : test::rows<Step>("locks", "steps")) {
    const int before = changes;
    ASSERT_TRUE(sources.at(source)(on) && eventually([&] { return changes > before; })) << what;
    EXPECT_EQ(monitor.isLocked(), locked) << what;
  }
}

TEST_F(LinuxScreenLockMonitorTest, FollowsLogindThatComesAndGoes) {
  LinuxScreenLockMonitor monitor;
  ASSERT_TRUE(logind.setSession("LockedHint", true) && eventually([&] { return monitor.lockedByNotification(); }));
  logind.stop();
  EXPECT_TRUE(monitor.isLocked()) << "its last word";
  logind.start();
  EXPECT_TRUE(eventually([&] { return !monitor.isLocked(); })) << "unlocked meanwhile";
  EXPECT_TRUE(logind.callSession("Lock") && eventually([&] { return monitor.isLocked(); }));
}

TEST_F(LinuxScreenLockMonitorTest, FindsLogindAndItsSessionLater) {
  logind.stop();
  LinuxScreenLockMonitor monitor;
  EXPECT_FALSE(monitor.isLocked());
  count(monitor);
  logind.start();
  // The mock's session may come after the monitor asked for it.
  ASSERT_TRUE(logind.setSession("LockedHint", true));
  EXPECT_TRUE(eventually([&] { return monitor.isScreenLocked(); }));
  EXPECT_GE(changes, 1);
}

TEST_F(LinuxScreenLockMonitorTest, StartedInsideAnotherLoginFollowsTheDisplaysSession) {
  constexpr auto display = "/org/freedesktop/login1/session/c2";
  const auto setUp = [&](const char* displayType) {
    return logind.addSession("c2") && logind.setSession("Type", g_variant_new_string(displayType), display) &&
           logind.setDisplay("c2", display);
  };
  const auto follows = [&](LinuxScreenLockMonitor& monitor) {
    return eventually([&] { return !monitor.isLocked(); }) &&
           logind.setSession("LockedHint", g_variant_new_boolean(TRUE), display) &&
           eventually([&] { return monitor.isLocked(); });
  };
  ASSERT_TRUE(logind.setSession("Type", g_variant_new_string("tty")));
  ASSERT_TRUE(logind.setSession("Active", false));
  ASSERT_TRUE(setUp("wayland"));
  LinuxScreenLockMonitor monitor;
  EXPECT_TRUE(follows(monitor));

  logind.stop();
  LinuxScreenLockMonitor early;
  setenv("XDG_SESSION_ID", "unknown", 1);
  logind.start();
  ASSERT_TRUE(setUp("x11"));
  EXPECT_TRUE(follows(early));
}

TEST_F(LinuxScreenLockMonitorTest, ADesktopThatWasStartedFromATerminalHasThatSession) {
  ASSERT_TRUE(logind.setSession("Type", g_variant_new_string("tty")));
  ASSERT_TRUE(logind.setSession("LockedHint", true));
  ASSERT_TRUE(logind.addSession("c2") && logind.setDisplay("c2", "/org/freedesktop/login1/session/c2"));
  LinuxScreenLockMonitor monitor;
  EXPECT_TRUE(monitor.isLocked());
}

TEST_F(LinuxScreenLockMonitorTest, FollowsBusesThatComeBack) {
  LinuxScreenLockMonitor monitor;
  // Repeated, since nobody knows when the monitor is on the bus.
  ASSERT_TRUE(eventually([&] { return logind.callSession("Lock") && monitor.isLocked(); }));
  systemBus.stop();
  sessionBus.stop();
  systemBus.start();
  sessionBus.start();
  logind.start();
  MockSaver saver(sessionBus, "org.gnome.ScreenSaver", "/org/gnome/ScreenSaver");
  EXPECT_TRUE(monitor.isLocked()) << "logind's last word";
  EXPECT_TRUE(eventually([&] { return logind.callSession("Unlock") && !monitor.isLocked(); }));
  EXPECT_TRUE(eventually([&] { return saver.signals(true) && monitor.isLocked(); }));
}

TEST_F(LinuxScreenLockMonitorTest, IgnoresWhatOthersSay) {
  MockSaver saver(sessionBus, "org.gnome.ScreenSaver", "/org/gnome/ScreenSaver");
  LinuxScreenLockMonitor monitor;
  systemBus.forge(MockLogind::session, "org.freedesktop.login1.Session", "Lock", g_variant_new("()"));
  sessionBus.forge("/org/gnome/ScreenSaver", "org.gnome.ScreenSaver", "ActiveChanged", g_variant_new("(b)", TRUE));
  count(monitor);
  ASSERT_TRUE(logind.callSession("Unlock") && saver.signals(false));
  EXPECT_TRUE(eventually([&] { return changes >= 2; }));
  EXPECT_EQ(changes, 2);
  EXPECT_FALSE(monitor.isLocked());
  // Nor a lock's forged end.
  ASSERT_TRUE(saver.signals(true) && eventually([&] { return monitor.isLocked(); }));
  sessionBus.forge("/org/gnome/ScreenSaver", "org.gnome.ScreenSaver", "ActiveChanged", g_variant_new("(b)", FALSE));
  ASSERT_TRUE(logind.callSession("Lock") && eventually([&] { return changes >= 4; }));
  ASSERT_TRUE(logind.callSession("Unlock") && eventually([&] { return changes >= 5; }));
  EXPECT_TRUE(monitor.isLocked());
}

TEST(LinuxScreenLockMonitorWithoutBuses, IsNeverLocked) {
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
  setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
  LinuxScreenLockMonitor monitor;
  EXPECT_FALSE(monitor.isLocked());
}

}  // namespace
}  // namespace quillet
