// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/ScreenChanges.h"

#include <QGuiApplication>
#include <QScreen>
#include <utility>

namespace quillet {

ScreenChanges::ScreenChanges(std::function<void()> changed) : changed_(std::move(changed)) {
  for (auto* screen : QGuiApplication::screens()) follow(screen);
  connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen* screen) {
    follow(screen);
    tell();
  });
  connect(qGuiApp, &QGuiApplication::screenRemoved, this, &ScreenChanges::tell);
}

void ScreenChanges::follow(QScreen* screen) {
  connect(screen, &QScreen::availableGeometryChanged, this, &ScreenChanges::tell);
}

/// Later: a screen that goes is still in the list, and windows have yet to take another size.
void ScreenChanges::tell() {
  QMetaObject::invokeMethod(
      this, [this] { changed_(); }, Qt::QueuedConnection);
}

}  // namespace quillet
