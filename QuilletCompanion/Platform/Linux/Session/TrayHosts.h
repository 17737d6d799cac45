// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractNativeEventFilter>

#include "QuilletCompanion/Platform/Linux/Session/DBusSignals.h"
#include "QuilletKit/Base/Observable.h"

namespace quillet {

/// Looks for what shows icons on this desktop: a host of status notifiers on the session bus, or a tray on the X
/// display. The toolkit decides once which of them it makes an icon for, so that no icon should be made before one is
/// there. Construct after QGuiApplication; main thread only.
class TrayHosts final : QAbstractNativeEventFilter {
 public:
  TrayHosts();
  ~TrayHosts() override;
  TrayHosts(const TrayHosts&) = delete;
  TrayHosts& operator=(const TrayHosts&) = delete;

  /// Whether one was there. Stays true: the toolkit brings its icon to each later one.
  const Observable<bool>& seen() const { return seen_; }

 private:
  bool nativeEventFilter(const QByteArray& type, void* event, qintptr* result) override;
  bool hasWatcher() const;
  bool hasTray();

  Observable<bool> seen_{false};
  DBusSignals bus_{G_BUS_TYPE_SESSION};
  unsigned long manager_ = 0, tray_ = 0;  ///< Atoms; 0 without an X display.
};

}  // namespace quillet
