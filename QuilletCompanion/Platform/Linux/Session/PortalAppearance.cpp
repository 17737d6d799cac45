// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/PortalAppearance.h"

#include <string>

namespace quillet {
namespace {

constexpr const char* portal = "org.freedesktop.portal.Desktop";
constexpr const char* path = "/org/freedesktop/portal/desktop";
constexpr const char* settings = "org.freedesktop.portal.Settings";
constexpr const char* appearance = "org.freedesktop.appearance";
constexpr const char* gnome = "org.gnome.desktop.interface";

/// Settings come wrapped once, and twice from the older call.
GVariantRef unwrapped(GVariant* setting) {
  GVariantRef value(g_variant_ref(setting));
  while (g_variant_is_of_type(value.get(), G_VARIANT_TYPE_VARIANT)) value.reset(g_variant_get_variant(value.get()));
  return value;
}

guint32 number(GVariant* value) {
  return g_variant_is_of_type(value, G_VARIANT_TYPE_UINT32) ? g_variant_get_uint32(value) : 0;
}

}  // namespace

PortalAppearance::PortalAppearance() {
  themeWatch_ = theme_.value().observe([this](const auto&) { merge(); });
  bus_.subscribe(portal, settings, "SettingChanged", path, [this](GVariant* arguments) {
    if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(ssv)"))) return;
    const char* space = nullptr;
    const char* key = nullptr;
    GVariant* setting = nullptr;
    g_variant_get(arguments, "(&s&sv)", &space, &key, &setting);
    const GVariantRef owned(setting);
    learn(space, key, setting);
  });
  const auto askAll = [this] {
    ask(appearance, "color-scheme");
    ask(appearance, "contrast");
    ask(gnome, "enable-animations");
  };
  bus_.watchName(portal, askAll, {});
  // Few desktops start it before somebody asks for it.
  constexpr const char* bus = "org.freedesktop.DBus";
  bus_.callLater(bus, "/org/freedesktop/DBus", bus, "StartServiceByName", g_variant_new("(su)", portal, 0U),
                 [](GVariant*, GUnixFDList*) {});
}

void PortalAppearance::ask(const char* space, const char* key) {
  bus_.callLater(portal, path, settings, "Read", g_variant_new("(ss)", space, key),
                 [this, space = std::string(space), key = std::string(key)](GVariant* answer, GUnixFDList*) {
                   if (answer == nullptr || !g_variant_is_of_type(answer, G_VARIANT_TYPE("(v)"))) return;
                   const GVariantRef setting(g_variant_get_child_value(answer, 0));
                   learn(space, key, setting.get());
                 });
}

void PortalAppearance::learn(const std::string& space, const std::string& key, GVariant* setting) {
  const auto value = unwrapped(setting);
  if (space == appearance && key == "color-scheme") {
    constexpr guint32 dark = 1;
    const auto scheme = number(value.get());
    isDark_ = scheme == 0 ? std::nullopt : std::optional(scheme == dark);
  }
  if (space == appearance && key == "contrast") hasHighContrast_ = number(value.get()) == 1;
  if (space == gnome && key == "enable-animations" && g_variant_is_of_type(value.get(), G_VARIANT_TYPE_BOOLEAN)) {
    reducesMotion_ = g_variant_get_boolean(value.get()) == FALSE;
  }
  merge();
}

void PortalAppearance::merge() {
  const auto& theme = theme_.value().get();
  value_.set({.isDark = isDark_.value_or(theme.isDark),
              .hasHighContrast = hasHighContrast_ || theme.hasHighContrast,
              .reducesMotion = reducesMotion_ || theme.reducesMotion});
}

}  // namespace quillet
