// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QQuickWindow>
#include <QRectF>
#include <functional>
#include <optional>

#include "QuilletCompanion/App/AppModel.h"
#include "QuilletCompanion/Views/ScreenChanges.h"
#include "QuilletCompanion/Views/Windows.h"

namespace quillet {

/// The pill at the bottom of the screen: whether it is shown, where, and in which shape. It never takes the keyboard.
/// It follows the pointer to another screen when a dictation begins, and stays where it is during one. Main thread
/// only.
class DictationPanelController final : public QObject {
  Q_OBJECT

 public:
  using Accompany = std::function<void(QWindow&)>;

  /// `feature` and `windows` outlive it. `accompany` makes a window one that stands on every desktop.
  DictationPanelController(DictationFeature& feature, Windows& windows, Accompany accompany);

  /// From now on it is shown when it should be.
  void start();
  bool isShown() const;
  /// Screens changed, or another application came to the front: goes to the pointer's screen, unless somebody dictates.
  void moveAlong();
  /// The part of its window that is seen, and can be clicked.
  Q_INVOKABLE static void shape(QQuickWindow* pill, const QRectF& outline, double radius);

 private:
  void refresh();
  static void place(QQuickWindow& pill);
  bool isAtWork() const { return isInProgress(feature_.controller().phase().get()); }

  DictationFeature& feature_;
  Windows& windows_;
  Accompany accompany_;
  std::optional<ScreenChanges> screens_;
  Observable<DictationPhase>::Subscription phaseWatch_;
  Observable<bool>::Subscription enabledWatch_, buttonWatch_;
};

}  // namespace quillet
