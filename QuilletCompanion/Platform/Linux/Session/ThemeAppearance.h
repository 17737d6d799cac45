// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractNativeEventFilter>
#include <optional>

#include "QuilletCompanion/App/DesktopAppearance.h"
#include "QuilletCompanion/Platform/Linux/X11/XSettings.h"
#include "QuilletKit/Base/Observable.h"

namespace quillet {

/// How windows are to look by what the desktop's themes are called: all that many desktops tell. Construct after
/// QGuiApplication; main thread only.
class ThemeAppearance final : QAbstractNativeEventFilter {
 public:
  ThemeAppearance();
  ~ThemeAppearance() override;
  ThemeAppearance(const ThemeAppearance&) = delete;
  ThemeAppearance& operator=(const ThemeAppearance&) = delete;

  const Observable<DesktopAppearance>& value() const { return value_; }

  static DesktopAppearance of(const XSettings::Values& settings);

 private:
  void look();
  bool nativeEventFilter(const QByteArray& type, void* event, qintptr* result) override;

  Observable<DesktopAppearance> value_;
  unsigned long settings_ = 0, manager_ = 0;  ///< Atoms; 0 without an X display.
};

}  // namespace quillet
