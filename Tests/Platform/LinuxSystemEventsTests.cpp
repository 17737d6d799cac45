// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/LinuxSystemEvents.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include "Tests/Platform/PrivateBus.h"

namespace quillet {
namespace {

using test::eventually;
using test::MockLogind;
using test::PrivateBus;

std::ptrdiff_t openPipes() {
  std::ptrdiff_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    if (std::filesystem::read_symlink(entry.path(), gone).string().starts_with("pipe:")) ++count;
  }
  return count;
}

class LinuxSystemEventsTest : public testing::Test {
 protected:
  PrivateBus systemBus{G_BUS_TYPE_SYSTEM};
  MockLogind logind{systemBus};
};

TEST_F(LinuxSystemEventsTest, TellsSleepAndWakeAndDelaysSleepMeanwhile) {
  LinuxSystemEvents events;
  std::vector<std::string> told;
  const auto without = openPipes();
  std::ptrdiff_t duringHandler = 0;
  auto observation = events.observe({.willSleep =
                                         [&] {
                                           duringHandler = openPipes();
                                           told.push_back("sleep");
                                         },
                                     .didWake = [&] { told.push_back("wake"); }});
  // The bus connection's own thread holds the descriptor a moment longer.
  const auto holdsOne = [&] { return openPipes() == without + 1; };
  EXPECT_TRUE(eventually(holdsOne));
  for (int round = 0; round < 2; ++round) {
    told.clear();
    ASSERT_TRUE(logind.prepareForSleep(true));
    ASSERT_TRUE(eventually([&] { return told == std::vector<std::string>{"sleep"}; }));
    EXPECT_EQ(duringHandler, without + 1);
    EXPECT_EQ(openPipes(), without + 1) << "a frame still has to leave";
    ASSERT_TRUE(eventually([&] { return openPipes() == without; }));
    ASSERT_TRUE(logind.prepareForSleep(false));
    ASSERT_TRUE(eventually([&] { return told == (std::vector<std::string>{"sleep", "wake"}); }));
    EXPECT_TRUE(eventually(holdsOne));
  }
  ASSERT_TRUE(logind.prepareForSleep(true));
  ASSERT_TRUE(eventually([&] { return told.size() == 3; }));
  observation.reset();
  EXPECT_TRUE(eventually([&] { return openPipes() == without; }));
}

TEST_F(LinuxSystemEventsTest, AHandlerMayEndTheObservation) {
  LinuxSystemEvents events;
  std::unique_ptr<SystemEvents::Observation> observation;
  observation = events.observe({.willSleep = [&] { observation.reset(); }});
  ASSERT_TRUE(logind.prepareForSleep(true));
  EXPECT_TRUE(eventually([&] { return observation == nullptr; }));
}

/// A network monitor whose answer is set by the test.
struct FakeNetworkMonitor {
  GObject parent;
  gboolean available;
};
struct FakeNetworkMonitorClass {
  GObjectClass parent;
};
enum : guint { availableProperty = 1, meteredProperty, connectivityProperty };

G_DEFINE_TYPE_WITH_CODE(FakeNetworkMonitor, fake_network_monitor, G_TYPE_OBJECT,
                        G_IMPLEMENT_INTERFACE(G_TYPE_INITABLE, nullptr)
                            G_IMPLEMENT_INTERFACE(G_TYPE_NETWORK_MONITOR, nullptr))

void fake_network_monitor_init(FakeNetworkMonitor* self) {
  self->available = TRUE;
}
void fake_network_monitor_class_init(FakeNetworkMonitorClass* type) {
  auto* const object = G_OBJECT_CLASS(type);
  object->get_property = [](GObject* self, guint property, GValue* value, GParamSpec*) {
    if (property == availableProperty)
      g_value_set_boolean(value, reinterpret_cast<FakeNetworkMonitor*>(self)->available);
  };
  g_object_class_override_property(object, availableProperty, "network-available");
  g_object_class_override_property(object, meteredProperty, "network-metered");
  g_object_class_override_property(object, connectivityProperty, "connectivity");
}

TEST(LinuxSystemEventsNetwork, TellsTheStateAtOnceAndEveryChange) {
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
  const GRef<FakeNetworkMonitor> network(
      static_cast<FakeNetworkMonitor*>(g_object_new(fake_network_monitor_get_type(), nullptr)));
  const auto change = [&](gboolean available) {
    network->available = available;
    g_signal_emit_by_name(network.get(), "network-changed", available);
  };
  network->available = FALSE;
  LinuxSystemEvents events(reinterpret_cast<GNetworkMonitor*>(network.get()));
  std::vector<bool> told;
  auto observation = events.observe({.networkPath = [&](bool available) { told.push_back(available); }});
  EXPECT_EQ(told, std::vector<bool>{false});
  for (const bool available : {true, true, false}) change(available);
  EXPECT_EQ(told, (std::vector<bool>{false, true, true, false}));
  observation.reset();
  change(TRUE);
  EXPECT_EQ(told.size(), 4U);
}

TEST(LinuxSystemEventsNetwork, WithoutAMonitorItIsAlwaysAvailable) {
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
  LinuxSystemEvents events(nullptr);
  bool told = false;
  const auto observation = events.observe({.networkPath = [&](bool available) { told = available; }});
  EXPECT_TRUE(told);
}

}  // namespace
}  // namespace quillet
