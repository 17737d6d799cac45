// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QTimer>
#include <functional>
#include <memory>

#include "QuilletCompanion/Views/ScreenChanges.h"
#include "QuilletCompanion/Views/ViewEngine.h"

namespace quillet {

/// The windows that are open, by their ids. The engine comes up with the first and goes with the last. Main thread
/// only.
class Windows final : public QObject {
 public:
  /// What a window's QML finds by these names; what lives for one window alone must be made a child of the context.
  using Furnish = std::function<void(const QString& id, QQmlContext& context)>;
  /// `onRest` is called a while after the start, and whenever no window has been opened or closed for a while.
  explicit Windows(Furnish furnish, std::function<void()> onRest = {});
  ~Windows() override;

  /// Shows the window that "<id>" stands for, or brings it to the front. `arrange` may set its flags and its place
  /// before it is shown anew. Null if there is none of that id.
  QQuickWindow* open(const QString& id, const std::function<void(QQuickWindow&)>& arrange = {});
  void close(const QString& id);
  QQuickWindow* find(const QString& id) const { return windows_.value(id); }
  bool isAnyOpen() const { return !windows_.isEmpty(); }

 private:
  QQuickWindow* create(const QString& id);
  void closed(const QString& id);
  void keepOnScreens();

  Furnish furnish_;
  std::function<void()> onRest_;
  std::unique_ptr<QQmlEngine> engine_;
  QHash<QString, QPointer<QQuickWindow>> windows_;
  ScreenChanges screens_{[this] { keepOnScreens(); }};
  QTimer farewell_;  ///< The engine isn't given up within its own event.
};

}  // namespace quillet
