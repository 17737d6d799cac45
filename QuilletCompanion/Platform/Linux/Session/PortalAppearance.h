// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletCompanion/App/DesktopAppearance.h"
#include "QuilletCompanion/Platform/Linux/Session/DBusSignals.h"
#include "QuilletKit/Base/Observable.h"

namespace quillet {

/// How the desktop wants windows to look, by its settings portal: light with nothing special until that has answered.
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

  Observable<DesktopAppearance> value_;
  DBusSignals bus_{G_BUS_TYPE_SESSION};
};

}  // namespace quillet
