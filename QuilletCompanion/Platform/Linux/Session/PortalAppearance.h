// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "QuilletCompanion/App/DesktopAppearance.h"
#include "QuilletCompanion/Platform/Linux/Session/DBusSignals.h"
#include "QuilletCompanion/Platform/Linux/Session/ThemeAppearance.h"
#include "QuilletKit/Base/Observable.h"

namespace quillet {

/// How the desktop wants windows to look, by its settings portal; by its theme where that has no answer, or none yet.
/// Main thread only.
class PortalAppearance {
 public:
  PortalAppearance();
  PortalAppearance(const PortalAppearance&) = delete;
  PortalAppearance& operator=(const PortalAppearance&) = delete;

  const Observable<DesktopAppearance>& value() const { return value_; }

 private:
  void ask(const char* space, const char* key);
  void learn(const std::string& space, const std::string& key, GVariant* setting);

  void merge();

  ThemeAppearance theme_;
  std::optional<bool> isDark_;  ///< What the portal said; absent if it leaves that to programs.
  bool hasHighContrast_ = false, reducesMotion_ = false;
  Observable<DesktopAppearance> value_{theme_.value().get()};
  Observable<DesktopAppearance>::Subscription themeWatch_;
  DBusSignals bus_{G_BUS_TYPE_SESSION};
};

}  // namespace quillet
