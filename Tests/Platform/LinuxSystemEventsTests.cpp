// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/LinuxSystemEvents.h"

#include "Tests/Platform/PrivateBus.h"

namespace quillet {
namespace {

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
  /// Tells `told` of sleep and wake, and keeps sleep waiting while `keepHold`.
  std::unique_ptr<SystemEvents::Observation> observe() {
    return events.observe({.willSleep =
                               [this] {
                                 if (keepHold) hold = observation->delaySleep();
                                 told.push_back("sleep");
                               },
                           .didWake = [this] { told.push_back("wake"); }});
  }
  // The bus connection's own thread holds the descriptor a moment longer.
  bool inhibits() {
    return test::eventually([this] { return openPipes() == before + 1; });
  }
  bool letsSleep() {
    return test::eventually([this] { return openPipes() == before; });
  }
  bool hears(const std::vector<std::string>& expected) {
    return test::eventually([&] { return told.size() >= expected.size(); }) && told == expected;
  }

  PrivateBus systemBus{G_BUS_TYPE_SYSTEM};
  MockLogind logind{systemBus};
  LinuxSystemEvents events{nullptr};
  std::ptrdiff_t before = openPipes();
  std::vector<std::string> told;
  bool keepHold = false;
  std::shared_ptr<void> hold;
  std::unique_ptr<SystemEvents::Observation> observation = observe();
};

TEST_F(LinuxSystemEventsTest, SleepWaitsUntilNobodyHoldsItUp) {
  EXPECT_TRUE(inhibits());
  EXPECT_EQ(observation->delaySleep(), nullptr) << "nobody sleeps yet";
  keepHold = true;
  for (int round = 0; round < 2; ++round) {
    told.clear();
    ASSERT_TRUE(logind.prepareForSleep(true) && hears({"sleep"}));
    ASSERT_NE(hold, nullptr);
    EXPECT_EQ(openPipes(), before + 1) << "a frame still has to leave";
    std::thread([this] { hold.reset(); }).join();
    EXPECT_TRUE(letsSleep());
    ASSERT_TRUE(logind.prepareForSleep(false) && hears({"sleep", "wake"}));
    EXPECT_TRUE(inhibits()) << "for the next sleep";
  }
  keepHold = false;
  ASSERT_TRUE(logind.prepareForSleep(true) && hears({"sleep", "wake", "sleep"}));
  EXPECT_TRUE(letsSleep()) << "nobody holds it up";
  observation.reset();
}

TEST_F(LinuxSystemEventsTest, SleepWaitsNoLongerThanItsBound) {
  EXPECT_TRUE(inhibits());
  keepHold = true;
  ASSERT_TRUE(logind.prepareForSleep(true) && hears({"sleep"}));
  EXPECT_TRUE(letsSleep()) << "with the hold still there";
  const auto old = hold;
  ASSERT_TRUE(logind.prepareForSleep(false) && hears({"sleep", "wake"}));
  EXPECT_TRUE(inhibits());
  hold.reset();
  ASSERT_TRUE(logind.prepareForSleep(true) && hears({"sleep", "wake", "sleep"}));
  EXPECT_NE(hold, old);
  EXPECT_EQ(openPipes(), before + 1) << "the hold of an earlier sleep says nothing of this one";
}

TEST_F(LinuxSystemEventsTest, ObservationsShareOneDelay) {
  auto second = observe();
  EXPECT_TRUE(inhibits());
  observation.reset();
  ASSERT_TRUE(logind.prepareForSleep(true) && hears({"sleep"})) << "the one that is left";
  ASSERT_TRUE(logind.prepareForSleep(false));
  EXPECT_TRUE(inhibits());
  second.reset();
  EXPECT_TRUE(letsSleep());
}

TEST_F(LinuxSystemEventsTest, FollowsLogindThatComesAndGoes) {
  EXPECT_TRUE(inhibits());
  logind.stop();
  EXPECT_TRUE(letsSleep());
  logind.start();
  EXPECT_TRUE(inhibits());
  ASSERT_TRUE(logind.prepareForSleep(true));
  ASSERT_TRUE(logind.prepareForSleep(true) && hears({"sleep"}));
  logind.stop();
  EXPECT_TRUE(hears({"sleep", "wake"})) << "nobody could tell of the wake any more";
}

TEST_F(LinuxSystemEventsTest, IgnoresWhatOthersSay) {
  EXPECT_TRUE(inhibits());
  systemBus.forge(MockLogind::manager, "org.freedesktop.login1.Manager", "PrepareForSleep", g_variant_new("(b)", TRUE));
  EXPECT_TRUE(logind.prepareForSleep(false) && hears({"wake"}));
}

TEST_F(LinuxSystemEventsTest, AHandlerMayEndObservations) {
  std::unique_ptr<SystemEvents::Observation> first, second;
  int calls = 0;
  first = events.observe({.willSleep = [&] {
    ++calls;
    second.reset();
    first.reset();
    observation.reset();
  }});
  second = events.observe({.willSleep = [&] { ++calls; }});
  EXPECT_TRUE(inhibits()) << "so it listens";
  ASSERT_TRUE(logind.prepareForSleep(true));
  ASSERT_TRUE(test::eventually([&] { return first == nullptr; }));
  EXPECT_EQ(calls, 1) << "the second had ended";
  EXPECT_TRUE(letsSleep());
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
  network->available = TRUE;
  g_object_notify(G_OBJECT(network.get()), "network-available");  // what may come without the signal
  g_object_notify(G_OBJECT(network.get()), "network-available");
  EXPECT_EQ(told, (std::vector<bool>{false, true, true, false, true}));
  observation.reset();
  change(FALSE);
  EXPECT_EQ(told.size(), 5U);
}

/// Follows a NetworkManager of the test's own, then loses the bus under it.
bool followsNetworkManager() {
  PrivateBus bus(G_BUS_TYPE_SYSTEM);
  constexpr const char* service = "org.freedesktop.NetworkManager";
  constexpr const char* path = "/org/freedesktop/NetworkManager";
  const auto program =
      test::ChildProcess::quiet({"/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "networkmanager"});
  const auto set = [&](guint32 state, guint32 connectivity) {
    GVariantBuilder changes;
    g_variant_builder_init(&changes, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&changes, "{sv}", "State", g_variant_new_uint32(state));
    g_variant_builder_add(&changes, "{sv}", "Connectivity", g_variant_new_uint32(connectivity));
    return bus.mock(service, path, "UpdateProperties", g_variant_new("(sa{sv})", service, &changes));
  };
  bool good = bus.awaitOwner(service) && test::eventually([&] { return set(70, 4); });
  LinuxSystemEvents events;
  std::vector<bool> told;
  const auto observation = events.observe({.networkPath = [&](bool available) { told.push_back(available); }});
  good = good && told == std::vector<bool>{true};
  good = good && set(20, 1) && test::eventually([&] { return !told.back(); });
  good = good && set(70, 4) && test::eventually([&] { return told.back(); });
  bus.stop();
  // Long enough for the bus's end to be noticed and, were it not forbidden, to end the process.
  const GRef<GDBusConnection> shared(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
  good = good && (!shared || test::eventually([&] { return g_dbus_connection_is_closed(shared.get()) != FALSE; }));
  while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
  }
  return good;
}

TEST(LinuxSystemEventsNetwork, FollowsNetworkManagerAndOutlivesItsBus) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // in a process of its own: GLib has one default monitor for good
  EXPECT_EXIT(std::_Exit(followsNetworkManager() ? 0 : 1), testing::ExitedWithCode(0), "");
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
