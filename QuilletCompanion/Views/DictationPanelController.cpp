// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/DictationPanelController.h"

#include <QCursor>
#include <QGuiApplication>
#include <QPainterPath>
#include <QRegion>
#include <QScreen>
#include <utility>

#include "QuilletCompanion/Views/TrayPlacement.h"

namespace quillet {
namespace {

constexpr Qt::WindowFlags pillFlags =
    Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus;

}  // namespace

DictationPanelController::DictationPanelController(DictationFeature& feature, Windows& windows, Accompany accompany)
    : feature_(feature), windows_(windows), accompany_(std::move(accompany)) {}

void DictationPanelController::start() {
  const auto& preferences = feature_.preferences;
  phaseWatch_ = feature_.controller().phase().observe([this](const auto&) { refresh(); });
  enabledWatch_ = preferences.isEnabled.observable().observe([this](bool) { refresh(); });
  buttonWatch_ = preferences.showsFloatingButton.observable().observe([this](bool) { refresh(); });
  screens_.emplace([this] { moveAlong(); });
  refresh();
}

void DictationPanelController::refresh() {
  const auto& preferences = feature_.preferences;
  const auto& phase = feature_.controller().phase().get();
  const bool isWanted = preferences.showsFloatingButton.get() || !is<DictationPhases::Idle>(phase);
  if (!preferences.isEnabled.get() || !isWanted) return windows_.close("pill");
  const bool isNew = !isShown();
  auto* const pill = windows_.open("pill", [this](QQuickWindow& window) {
    window.setFlags(pillFlags);
    accompany_(window);
    place(window);
  });
  if (pill == nullptr) return;
  if (!isNew && is<DictationPhases::Starting>(phase)) place(*pill);
  pill->raise();
}

bool DictationPanelController::isShown() const {
  const auto* const pill = windows_.find("pill");
  return pill != nullptr && pill->isVisible();
}

void DictationPanelController::moveAlong() {
  if (isShown() && !isAtWork()) place(*windows_.find("pill"));
}

void DictationPanelController::place(QQuickWindow& pill) {
  const auto* screen = QGuiApplication::screenAt(QCursor::pos());
  if (screen == nullptr) screen = QGuiApplication::primaryScreen();
  if (screen != nullptr) pill.setPosition(pillPlace(pill.size(), screen->availableGeometry()));
}

void DictationPanelController::shape(QQuickWindow* pill, const QRectF& outline, double radius) {
  QPainterPath path;
  path.addRoundedRect(outline, radius, radius);
  // What is seen in part at its edges is let in, so that they are smooth where there is a compositor.
  const QRegion inside(path.toFillPolygon().toPolygon());
  QRegion whole = inside;
  for (const auto& [x, y] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}}) whole += inside.translated(x, y);
  pill->setMask(whole & outline.toAlignedRect());
}

}  // namespace quillet
