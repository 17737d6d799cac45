// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/LinuxScreenLockMonitor.h"

#include <gtest/gtest.h>

#include "Tests/Platform/PrivateBus.h"

namespace quillet {
namespace {

using test::eventually;
using test::MockLogind;
using test::PrivateBus;

class LinuxScreenLockMonitorTest : public testing::Test {
 protected:
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

TEST_F(LinuxScreenLockMonitorTest, FollowsTheSession) {
  LinuxScreenLockMonitor monitor;
  int changes = 0;
  monitor.onChange = [&] { ++changes; };
  const struct {
    const char* property;
    bool value;
    bool flag;
    bool answer;
  } steps[] = {{"LockedHint", true, true, true},
               {"LockedHint", false, false, false},
               {"Active", false, false, true},
               {"Active", true, false, false}};
  int seen = 0;
  for (const auto& step : steps) {
    ASSERT_TRUE(logind.setSession(step.property, step.value));
    ASSERT_TRUE(eventually([&] { return changes == seen + 1; })) << step.property << step.value;
    seen = changes;
    EXPECT_EQ(monitor.lockedByNotification(), step.flag) << step.property << step.value;
    EXPECT_EQ(monitor.isScreenLocked(), step.answer) << step.property << step.value;
  }
}

TEST_F(LinuxScreenLockMonitorTest, FollowsLockAndUnlockSignals) {
  LinuxScreenLockMonitor monitor;
  ASSERT_TRUE(logind.callSession("Lock"));
  ASSERT_TRUE(eventually([&] { return monitor.lockedByNotification(); }));
  EXPECT_FALSE(monitor.isScreenLocked());
  EXPECT_TRUE(monitor.isLocked());
  ASSERT_TRUE(logind.callSession("Unlock"));
  ASSERT_TRUE(eventually([&] { return !monitor.lockedByNotification(); }));
}

TEST_F(LinuxScreenLockMonitorTest, FollowsScreenSavers) {
  for (const auto& [name, path] : {std::pair("org.gnome.ScreenSaver", "/org/gnome/ScreenSaver"),
                                   std::pair("org.freedesktop.ScreenSaver", "/ScreenSaver")}) {
    const test::ChildProgram saver({"/usr/bin/python3", "-m", "dbusmock", "--session", name, path, name});
    ASSERT_TRUE(sessionBus.awaitOwner(name));
    LinuxScreenLockMonitor monitor;
    for (const bool active : {true, false}) {
      GVariant* const argument = g_variant_new_variant(g_variant_new_boolean(active));
      ASSERT_TRUE(sessionBus.mock(name, path, "EmitSignal",
                                  g_variant_new("(sss@av)", name, "ActiveChanged", "b",
                                                g_variant_new_array(G_VARIANT_TYPE_VARIANT, &argument, 1))));
      EXPECT_TRUE(eventually([&] { return monitor.lockedByNotification() == active; })) << name << active;
    }
  }
}

TEST(LinuxScreenLockMonitorWithoutBuses, IsNeverLocked) {
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
  setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
  LinuxScreenLockMonitor monitor;
  EXPECT_FALSE(monitor.isLocked());
}

}  // namespace
}  // namespace quillet
