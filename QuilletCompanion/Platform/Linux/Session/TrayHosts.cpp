// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/TrayHosts.h"

#include <QCoreApplication>
#include <string>

// After Qt's, which has names that are macros here.
#include <X11/Xlib.h>
#include <xcb/xcb.h>

#include "QuilletCompanion/Platform/Linux/X11/X11Connection.h"

namespace quillet {
namespace {

constexpr const char* watcher = "org.kde.StatusNotifierWatcher";
constexpr const char* bus = "org.freedesktop.DBus";

}  // namespace

TrayHosts::TrayHosts() {
  QCoreApplication::instance()->installNativeEventFilter(this);
  const bool tray = hasTray();
  seen_.set(hasWatcher() || tray);
  bus_.watchName(watcher, [this] { seen_.set(true); }, {});
}

TrayHosts::~TrayHosts() = default;

bool TrayHosts::hasWatcher() const {
  const auto reply = bus_.call(bus, "/org/freedesktop/DBus", bus, "NameHasOwner", g_variant_new("(s)", watcher));
  if (!reply || !g_variant_is_of_type(reply.get(), G_VARIANT_TYPE("(b)"))) return false;
  gboolean owned = FALSE;
  g_variant_get(reply.get(), "(b)", &owned);
  return owned != FALSE;
}

bool TrayHosts::hasTray() {
  const X11Connection connection({});
  if (!connection.usable()) return false;
  auto* const display = connection.get();
  const X11ErrorTrap trap(connection);
  manager_ = XInternAtom(display, "MANAGER", False);
  tray_ = XInternAtom(display, ("_NET_SYSTEM_TRAY_S" + std::to_string(DefaultScreen(display))).c_str(), False);
  return XGetSelectionOwner(display, tray_) != 0;
}

/// A new tray says so to the root window, of which the toolkit has asked to hear.
bool TrayHosts::nativeEventFilter(const QByteArray& type, void* event, qintptr*) {
  constexpr std::uint8_t sentByClient = 0x80;
  if (seen_.get() || tray_ == 0 || type != "xcb_generic_event_t") return false;
  const auto& any = *static_cast<const xcb_generic_event_t*>(event);
  if ((any.response_type & ~sentByClient) != XCB_CLIENT_MESSAGE) return false;
  const auto& message = *static_cast<const xcb_client_message_event_t*>(event);
  if (message.type == manager_ && message.data.data32[1] == tray_) seen_.set(true);
  return false;
}

}  // namespace quillet
