// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Accessibility/AccessibilityBus.h"

#include <atspi/atspi.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "QuilletCompanion/Platform/Linux/Accessibility/CallBudget.h"
#include "QuilletCompanion/Platform/Linux/Session/GObjectRef.h"

namespace quillet {
namespace {

constexpr const char* busName = "org.a11y.Bus";
constexpr const char* busPath = "/org/a11y/bus";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr const char* statusInterface = "org.a11y.Status";
constexpr std::chrono::seconds keptFor{30}, keptUnsettledFor{1}, keptUnansweredFor{5};
/// For the bus to answer, in which it can be waited for; it usually takes some milliseconds.
constexpr std::chrono::milliseconds answersWithin{500};
constexpr std::chrono::milliseconds answersAtOnce{50};
constexpr const char* registryName = "org.a11y.atspi.Registry";
constexpr int timeout = static_cast<int>(CallBudget::limit.count());

constexpr std::string_view addressVariable = "AT_SPI_BUS_ADDRESS";
/// In place of its first letter, so that nobody knows it.
constexpr char hidden = '_';
/// Stands in the environment from before any thread has started. Only its bytes change later: to add a variable, or to
/// take one out, moves others that a thread may be reading.
std::array<char, 2048> addressEntry{};

void write(const std::string& entry) {
  addressEntry[0] = hidden;
  entry.copy(addressEntry.data() + 1, addressEntry.size() - 2, 1);
  addressEntry[std::min(entry.size(), addressEntry.size() - 1)] = '\0';
  addressEntry[0] = entry[0];
}

/// The library would ask the X server where the bus is, without a limit, unless it is told.
bool initialise(const std::string& address) {
  AccessibilityBus::reserveEnvironment();
  const std::string before = addressEntry.data();
  write(std::string(addressVariable) + "=" + address);
  const bool succeeded = atspi_init() <= 1;  // 1: it was initialised before
  write(before);
  return succeeded;
}

}  // namespace

void AccessibilityBus::reserveEnvironment() {
  if (addressEntry[0] != '\0') return;
  const std::string name(addressVariable);
  const char* const found = g_getenv(name.c_str());
  std::string entry = name + "=" + (found != nullptr ? found : "");
  if (found == nullptr) entry[0] = hidden;
  g_unsetenv(name.c_str());
  write(entry);
  ::putenv(addressEntry.data());
}

AccessibilityBus::AccessibilityBus() {
  session_.subscribe(busName, propertiesInterface, "PropertiesChanged", busPath, [this](GVariant*) { forget(); });
  session_.watchName(
      busName,
      [this] {
        present_ = true;
        forget();
      },
      [this] {
        present_ = false;
        forget();
      });
}

AccessibilityBus::~AccessibilityBus() {
  if (watch_ != 0) g_bus_unwatch_name(watch_);
}

void AccessibilityBus::forget() {
  enabledKnown_ = wellKnown_ = {};
}

bool AccessibilityBus::isEnabled() {
  const bool settled = present_ && enabled_ && (connected_ || !*enabled_);
  const bool unanswered = !enabled_ && slow_;
  if (!enabledKnown_.within(settled ? keptFor : unanswered ? keptUnansweredFor : keptUnsettledFor)) {
    const auto begin = std::chrono::steady_clock::now();
    enabled_ = askEnabled();
    slow_ = std::chrono::steady_clock::now() - begin >= answersWithin;
    enabledKnown_.now();
    if (enabled_.value_or(false) && !connected_) connect(begin + CallBudget::limit);
  }
  return enabled_.value_or(false) && connected_;
}

bool AccessibilityBus::enable() {
  forget();
  GVariant* const on = g_variant_new_variant(g_variant_new_boolean(TRUE));
  return callStatus("Set", g_variant_new("(ss@v)", statusInterface, "IsEnabled", on)) != nullptr;
}

bool AccessibilityBus::isStale() {
  if (!isEnabled()) return false;
  if (isConnectionLost()) return true;
  if (ping_ && ping_->wait(Duration::zero())) settle(!std::exchange(ping_, nullptr)->take());
  if ((present_ && wellKnown_.within(keptFor)) || checked_.within(keptUnsettledFor)) return stale_;
  check();
  return stale_;
}

void AccessibilityBus::check() {
  checked_.now();
  if (ping_) return settle(true);  // it has had its time
  if (askAddress() != address_) return settle(true);
  ping_ = std::make_unique<BusPing>(bus_.get(), registryName);
  if (ping_->wait(answersAtOnce)) settle(!std::exchange(ping_, nullptr)->take());
}

void AccessibilityBus::settle(bool stale) {
  stale_ = stale;
  checked_.now();
  if (!stale) wellKnown_.now();
}

bool AccessibilityBus::isConnectionLost() const {
  if (!bus_ || g_dbus_connection_is_closed(bus_.get()) != FALSE) return true;
  DBusConnection* const used = atspi_get_a11y_bus();
  return used == nullptr || dbus_connection_get_is_connected(used) == FALSE;
}

/// Starts the service where it isn't running yet.
GVariantRef AccessibilityBus::callStatus(const char* method, GVariant* arguments) const {
  return session_.call(busName, busPath, propertiesInterface, method, arguments, G_DBUS_CALL_FLAGS_NONE);
}

std::optional<bool> AccessibilityBus::askEnabled() const {
  const auto reply = callStatus("Get", g_variant_new("(ss)", statusInterface, "IsEnabled"));
  if (!reply || !g_variant_is_of_type(reply.get(), G_VARIANT_TYPE("(v)"))) return std::nullopt;
  const GVariantRef boxed(g_variant_get_child_value(reply.get(), 0));
  const GVariantRef value(g_variant_get_variant(boxed.get()));
  return g_variant_is_of_type(value.get(), G_VARIANT_TYPE_BOOLEAN) != FALSE &&
         g_variant_get_boolean(value.get()) != FALSE;
}

/// libatspi waits without bound for a bus that doesn't answer, and nearly so for a registry. It is told of them only
/// once both have answered.
void AccessibilityBus::connect(MonotonicTime deadline) {
  const auto left = [deadline] {
    using std::chrono::milliseconds;
    return std::max(milliseconds(1),
                    std::chrono::duration_cast<milliseconds>(deadline - std::chrono::steady_clock::now()));
  };
  const bool begins = !attempt_;
  if (begins) {
    address_ = askAddress(left());
    if (address_.empty()) return;
    attempt_ = std::make_unique<BusAttempt>(address_);
  }
  const auto patience = [&] { return begins ? std::min<Duration>(answersWithin, left()) : Duration::zero(); };
  if (!bus_) {
    if (!attempt_->wait(patience())) return;
    bus_ = attempt_->take();
    if (!bus_) return attempt_.reset();
    ping_ = std::make_unique<BusPing>(bus_.get(), registryName);
  }
  if (!ping_->wait(patience())) return;
  const bool answered = std::exchange(ping_, nullptr)->take();
  attempt_.reset();
  if (!answered) return bus_.reset();
  atspi_set_timeout(timeout, timeout);
  connected_ = initialise(address_);
  if (connected_) watchRegistry();
}

std::string AccessibilityBus::askAddress(std::chrono::milliseconds limit) const {
  const auto reply =
      session_.call(busName, busPath, busName, "GetAddress", nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, limit);
  if (!reply || !g_variant_is_of_type(reply.get(), G_VARIANT_TYPE("(s)"))) return {};
  const char* address = nullptr;
  g_variant_get(reply.get(), "(&s)", &address);
  return address;
}

void AccessibilityBus::watchRegistry() {
  const auto appeared = [](GDBusConnection*, const char*, const char*, void* self) {
    auto& bus = *static_cast<AccessibilityBus*>(self);
    bus.wellKnown_ = {};
    // The first one is that which has just answered.
    if (std::exchange(bus.registrySeen_, true) && bus.onNewRegistry) bus.onNewRegistry();
  };
  const auto vanished = [](GDBusConnection*, const char*, void* self) {
    static_cast<AccessibilityBus*>(self)->wellKnown_ = {};  // asking starts the next one
  };
  watch_ = g_bus_watch_name_on_connection(bus_.get(), registryName, G_BUS_NAME_WATCHER_FLAGS_NONE, appeared, vanished,
                                          this, nullptr);
}

}  // namespace quillet
