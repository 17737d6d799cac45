// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/ThemeAppearance.h"

#include <QGuiApplication>
#include <QString>

// After Qt's, which has names that are macros here.
#include <X11/Xlib.h>
#include <xcb/xcb.h>

namespace quillet {

ThemeAppearance::ThemeAppearance() {
  QCoreApplication::instance()->installNativeEventFilter(this);
  if (auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>()) {
    settings_ = XInternAtom(x11->display(), "_XSETTINGS_SETTINGS", False);
    manager_ = XInternAtom(x11->display(), "MANAGER", False);
    look();
  }
}

ThemeAppearance::~ThemeAppearance() = default;

DesktopAppearance ThemeAppearance::of(const XSettings::Values& settings) {
  DesktopAppearance found;
  const auto name = settings.find("Net/ThemeName");
  if (name != settings.end() && std::holds_alternative<std::string>(name->second)) {
    const auto theme = QString::fromStdString(std::get<std::string>(name->second)).toLower();
    found.hasHighContrast = theme.contains("highcontrast") || theme.contains("contrasthigh");
    found.isDark = theme.contains("dark") || (found.hasHighContrast && theme.contains("inverse"));
  }
  const auto moves = settings.find("Gtk/EnableAnimations");
  found.reducesMotion = moves != settings.end() && moves->second == XSettings::Values::mapped_type(0);
  return found;
}

/// The toolkit hears of a new daemon, but asks only the first for its changes.
void ThemeAppearance::look() {
  if (const auto daemon = XSettings::daemon()) {
    auto* const display = qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->display();
    XSelectInput(display, daemon, StructureNotifyMask | PropertyChangeMask);
    XFlush(display);
  }
  value_.set(of(XSettings::read()));
}

bool ThemeAppearance::nativeEventFilter(const QByteArray& type, void* event, qintptr*) {
  constexpr std::uint8_t sentByClient = 0x80;
  if (settings_ == 0 || type != "xcb_generic_event_t") return false;
  const auto& any = *static_cast<const xcb_generic_event_t*>(event);
  const int kind = any.response_type & ~sentByClient;
  const bool changed =
      kind == XCB_PROPERTY_NOTIFY && static_cast<const xcb_property_notify_event_t*>(event)->atom == settings_;
  const bool isNew =
      kind == XCB_CLIENT_MESSAGE && static_cast<const xcb_client_message_event_t*>(event)->type == manager_;
  if (changed || isNew) look();
  return false;
}

}  // namespace quillet
