// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/Look.h"

#include <QEvent>
#include <QFontInfo>
#include <QGuiApplication>

namespace quillet {

Look::Look(const Observable<DesktopAppearance>& appearance, QObject* parent)
    : QObject(parent), appearance_(appearance), watch_(appearance.observe([this](const auto&) { Q_EMIT changed(); })) {
  qApp->installEventFilter(this);
}

double Look::fontPixels() const {
  return QFontInfo(QGuiApplication::font()).pixelSize();
}

bool Look::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::ApplicationFontChange && watched == qApp) Q_EMIT changed();
  return false;
}

}  // namespace quillet
