// SPDX-License-Identifier: MIT
#pragma once

#include <QMenu>
#include <QObject>
#include <QString>
#include <QSystemTrayIcon>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "QuilletCompanion/App/AppModel.h"
#include "QuilletCompanion/App/AppUpdater.h"
#include "QuilletCompanion/App/StatusRows.h"
#include "QuilletCompanion/Views/DeskView.h"
#include "QuilletCompanion/Views/DictationPanelController.h"
#include "QuilletCompanion/Views/DictationView.h"
#include "QuilletCompanion/Views/StatisticsView.h"
#include "QuilletCompanion/Views/UpdateView.h"
#include "QuilletCompanion/Views/Windows.h"

namespace quillet {

/// The program as an icon in the tray, whose popover leads to all windows. Where there is no tray the popover is a
/// window of its own. Construct after QApplication, on the main thread.
class TrayFrontEnd final : public QObject {
 public:
  struct Surroundings {
    std::function<std::int64_t()> now;  ///< Milliseconds since 1970.
    std::function<void()> quit;
    std::function<void()> openEditor;           ///< Opens the user's editor with an empty note.
    std::function<void()> openSoundSettings{};  ///< Empty where the desktop has none.
    /// Lets a window that is not shown yet stand on every desktop and in no list of windows.
    std::function<void(QWindow&)> accompany = [](QWindow&) {};
    /// False while drawing would wait for a display that is silent.
    std::function<bool()> displayAnswers = [] { return true; };
    /// Called when nothing has been opened or closed for a while.
    std::function<void()> rest{};
    std::unique_ptr<UpdateController> updates{};  ///< None: the program doesn't update itself.
    /// Whether there is something that shows icons; an icon is made as soon as there is. Null where nobody knows.
    const Observable<bool>* trayHost = nullptr;
    /// A desktop that is just starting has its tray only then; without one the popover is opened.
    std::chrono::milliseconds trayMayTake{1500};
  };
  TrayFrontEnd(AppModel& model, Executor mainThread, Look& look, Surroundings surroundings);

  /// To be called once the model has started: opens what a first run has to show.
  void start();
  /// As if the icon were clicked: the user started the program again.
  void activate();

 private:
  void furnish(const QString& id, QQmlContext& context);
  void showIcon();
  bool hasTray() const { return icon_ && QSystemTrayIcon::isSystemTrayAvailable(); }
  void showWithoutTray();
  void togglePopover();
  void showPopover(bool atIcon);
  void showBadge();
  void updateIcon();

  AppModel& model_;
  Executor mainThread_;
  Surroundings surroundings_;
  DeskView desk_;
  StatisticsView statistics_;
  DictationView dictation_;
  AppUpdater updater_;
  UpdateView updates_;
  Windows windows_;
  DictationPanelController panel_;
  std::unique_ptr<QMenu> menu_;
  std::optional<QSystemTrayIcon> icon_;
  MenuIcon iconShown_;
  std::int64_t dismissedAt_ = 0;  ///< Milliseconds since 1970.
  Subscription inserted_;
  Observable<bool>::Subscription trayWatch_;
};

}  // namespace quillet
