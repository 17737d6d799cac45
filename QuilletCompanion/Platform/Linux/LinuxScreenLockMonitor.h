// SPDX-License-Identifier: MIT
#pragma once

#include <gio/gio.h>

#include <optional>
#include <string>

#include "QuilletCompanion/Platform/Linux/DBusSignals.h"
#include "QuilletCompanion/Target/ScreenLockMonitor.h"

namespace quillet {

/// The screen's lock as logind and the desktop's screen saver tell it. The flag follows their signals; the session's
/// own answer is logind's record of this session, read once and kept current by its signals, so that asking never
/// waits. A session in the background (another user's is in front) counts as locked. Where logind doesn't answer or
/// knows no session of ours, only signals lock. Construction waits for some seconds at most, without a bus not at all.
class LinuxScreenLockMonitor final : public ScreenLockMonitor {
 public:
  LinuxScreenLockMonitor();

  bool isScreenLocked() override { return lockedHint_ || !active_; }

 private:
  std::optional<std::string> findSession() const;
  void watchSession(const std::string& path);
  void watchScreenSavers();
  void takeProperties(GVariant* properties);
  void propertiesChanged(GVariant* properties);

  DBusSignals system_{G_BUS_TYPE_SYSTEM};
  DBusSignals session_{G_BUS_TYPE_SESSION};
  bool lockedHint_ = false;
  bool active_ = true;
};

}  // namespace quillet
