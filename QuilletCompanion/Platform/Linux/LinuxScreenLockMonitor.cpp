// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/LinuxScreenLockMonitor.h"

#include <unistd.h>

#include <array>
#include <cstdlib>

namespace quillet {
namespace {

constexpr const char* logind = "org.freedesktop.login1";
constexpr const char* managerPath = "/org/freedesktop/login1";
constexpr const char* managerInterface = "org.freedesktop.login1.Manager";
constexpr const char* sessionInterface = "org.freedesktop.login1.Session";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";

constexpr std::array screenSavers{"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver", "org.cinnamon.ScreenSaver",
                                  "org.mate.ScreenSaver", "org.xfce.ScreenSaver"};

}  // namespace

LinuxScreenLockMonitor::LinuxScreenLockMonitor() {
  if (const auto path = findSession()) watchSession(*path);
  watchScreenSavers();
}

/// A program that the user's service manager started is in no session; "auto" then names the one on the display.
std::optional<std::string> LinuxScreenLockMonitor::findSession() const {
  const char* const id = std::getenv("XDG_SESSION_ID");
  const auto ask = [this](const char* method, GVariant* argument) -> std::optional<std::string> {
    const auto reply = system_.call(logind, managerPath, managerInterface, method, g_variant_new_tuple(&argument, 1));
    if (!reply || !g_variant_is_of_type(reply.get(), G_VARIANT_TYPE("(o)"))) return std::nullopt;
    const char* path = nullptr;
    g_variant_get(reply.get(), "(&o)", &path);
    return path;
  };
  std::optional<std::string> found;
  if (id != nullptr) found = ask("GetSession", g_variant_new_string(id));
  if (!found) found = ask("GetSessionByPID", g_variant_new_uint32(static_cast<guint32>(getpid())));
  if (!found) found = ask("GetSession", g_variant_new_string("auto"));
  return found;
}

void LinuxScreenLockMonitor::watchSession(const std::string& path) {
  system_.subscribe(logind, sessionInterface, "Lock", path.c_str(), [this](GVariant*) { setLocked(true); });
  system_.subscribe(logind, sessionInterface, "Unlock", path.c_str(), [this](GVariant*) { setLocked(false); });
  system_.subscribe(logind, propertiesInterface, "PropertiesChanged", path.c_str(), [this](GVariant* arguments) {
    if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(sa{sv}as)"))) return;
    const GVariantRef changed(g_variant_get_child_value(arguments, 1));
    propertiesChanged(changed.get());
  });
  const auto reply =
      system_.call(logind, path.c_str(), propertiesInterface, "GetAll", g_variant_new("(s)", sessionInterface));
  if (!reply || !g_variant_is_of_type(reply.get(), G_VARIANT_TYPE("(a{sv})"))) return;
  const GVariantRef properties(g_variant_get_child_value(reply.get(), 0));
  takeProperties(properties.get());
}

void LinuxScreenLockMonitor::watchScreenSavers() {
  for (const char* const name : screenSavers) {
    session_.subscribe(name, name, "ActiveChanged", nullptr, [this](GVariant* arguments) {
      gboolean active = FALSE;
      if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(b)"))) return;
      g_variant_get(arguments, "(b)", &active);
      setLocked(active != FALSE);
    });
  }
}

void LinuxScreenLockMonitor::takeProperties(GVariant* properties) {
  gboolean value = FALSE;
  if (g_variant_lookup(properties, "LockedHint", "b", &value)) lockedHint_ = value != FALSE;
  if (g_variant_lookup(properties, "Active", "b", &value)) active_ = value != FALSE;
}

void LinuxScreenLockMonitor::propertiesChanged(GVariant* properties) {
  const bool hinted = lockedHint_;
  const bool wasActive = active_;
  takeProperties(properties);
  if (lockedHint_ != hinted) {
    setLocked(lockedHint_);
  } else if (active_ != wasActive && onChange) {
    onChange();
  }
}

}  // namespace quillet
