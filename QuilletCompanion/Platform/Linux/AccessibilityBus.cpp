// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/AccessibilityBus.h"

#include <atspi/atspi.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <chrono>

#include "QuilletCompanion/Platform/Linux/CallBudget.h"
#include "QuilletCompanion/Platform/Linux/GObjectRef.h"

namespace quillet {
namespace {

constexpr auto freshFor = std::chrono::seconds(1);
constexpr int timeout = static_cast<int>(CallBudget::limit.count());

QDBusMessage callStatus(const char* method, const QVariantList& extra = {}) {
  auto message =
      QDBusMessage::createMethodCall(QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
                                     QStringLiteral("org.freedesktop.DBus.Properties"), QString::fromLatin1(method));
  message.setArguments(QVariantList{QStringLiteral("org.a11y.Status"), QStringLiteral("IsEnabled")} + extra);
  return QDBusConnection::sessionBus().call(message, QDBus::Block, timeout);
}

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
  const auto on = QVariant::fromValue(QDBusVariant(true));
  return callStatus("Set", {on}).type() == QDBusMessage::ReplyMessage;
}

bool AccessibilityBus::isStale() {
  if (!isEnabled()) return false;
  atspi_set_timeout(timeout, timeout);
  const GRef<AtspiAccessible> desktop(atspi_get_desktop(0));
  GErrorSlot error;
  return !desktop || atspi_accessible_get_child_count(desktop.get(), error) < 0 || error.failed();
}

bool AccessibilityBus::askEnabled() {
  const auto reply = callStatus("Get");
  if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return false;
  return reply.arguments().constFirst().value<QDBusVariant>().variant().toBool();
}

void AccessibilityBus::connect() {
  atspi_set_timeout(timeout, timeout);
  connected_ = atspi_init() <= 1;  // 1: it was initialised before
}

}  // namespace quillet
