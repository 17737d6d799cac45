// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/AccessibilityBus.h"

#include <atspi/atspi.h>

#include <chrono>

#include "QuilletCompanion/Platform/Linux/CallBudget.h"
#include "QuilletCompanion/Platform/Linux/GObjectRef.h"

namespace quillet {
namespace {

constexpr const char* statusInterface = "org.a11y.Status";
constexpr auto freshFor = std::chrono::seconds(1);
constexpr int timeout = static_cast<int>(CallBudget::limit.count());

}  // namespace

bool AccessibilityBus::isEnabled() {
  const auto now = std::chrono::steady_clock::now();
  if (askedAt_ == MonotonicTime{} || now - askedAt_ >= freshFor) {
    enabled_ = askEnabled();
    askedAt_ = std::chrono::steady_clock::now();
    if (enabled_ && !connected_) connect();
  }
  return enabled_ && connected_;
}

bool AccessibilityBus::enable() {
  askedAt_ = {};
  GVariant* const on = g_variant_new_variant(g_variant_new_boolean(TRUE));
  return callStatus("Set", g_variant_new("(ss@v)", statusInterface, "IsEnabled", on)) != nullptr;
}

bool AccessibilityBus::isStale() {
  if (!isEnabled()) return false;
  atspi_set_timeout(timeout, timeout);
  const GRef<AtspiAccessible> desktop(atspi_get_desktop(0));
  GErrorSlot error;
  return !desktop || atspi_accessible_get_child_count(desktop.get(), error) < 0 || error.failed();
}

/// Starts the service where it isn't running yet.
GVariantRef AccessibilityBus::callStatus(const char* method, GVariant* arguments) const {
  return session_.call("org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", method, arguments,
                       G_DBUS_CALL_FLAGS_NONE);
}

bool AccessibilityBus::askEnabled() const {
  const auto reply = callStatus("Get", g_variant_new("(ss)", statusInterface, "IsEnabled"));
  if (!reply || !g_variant_is_of_type(reply.get(), G_VARIANT_TYPE("(v)"))) return false;
  const GVariantRef boxed(g_variant_get_child_value(reply.get(), 0));
  const GVariantRef value(g_variant_get_variant(boxed.get()));
  return g_variant_is_of_type(value.get(), G_VARIANT_TYPE_BOOLEAN) != FALSE &&
         g_variant_get_boolean(value.get()) != FALSE;
}

void AccessibilityBus::connect() {
  atspi_set_timeout(timeout, timeout);
  connected_ = atspi_init() <= 1;  // 1: it was initialised before
}

}  // namespace quillet
