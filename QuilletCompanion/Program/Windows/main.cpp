// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QWindow>
#include <utility>

#include "QuilletCompanion/Platform/Linux/Session/DefaultEditor.h"
#include "QuilletCompanion/Platform/Linux/Session/PortalAppearance.h"
#include "QuilletCompanion/Platform/Linux/Session/SoundSettings.h"
#include "QuilletCompanion/Platform/Linux/Session/TrayHosts.h"
#include "QuilletCompanion/Platform/Linux/X11/AccompanyingWindow.h"
#include "QuilletCompanion/Platform/Linux/X11/DisplayCheck.h"
#include "QuilletCompanion/Program/Quillet.h"
#include "QuilletCompanion/Program/Windows/DisplayLoss.h"
#include "QuilletCompanion/Program/Windows/IdleMemory.h"
#include "QuilletCompanion/Program/Windows/Updates.h"
#include "QuilletCompanion/Views/Look.h"
#include "QuilletCompanion/Views/Translations.h"
#include "QuilletCompanion/Views/TrayFrontEnd.h"

namespace {

using namespace quillet;

class Front final : public WindowsFront {
 public:
  Front(AppModel& model, Executor mainThread, std::function<std::int64_t()> now)
      : loss_([&model] { model.willEnd(); }),
        tray_(model, std::move(mainThread), look_,
              {.now = std::move(now),
               .quit = [] { QCoreApplication::quit(); },
               .openEditor = openDefaultEditor,
               .openSoundSettings = soundSettings(),
               .accompany =
                   [](QWindow& window) {
                     if (isX11()) accompanyUser(window.winId());
                   },
               .displayAnswers = [this] { return !isX11() || display_.answers(); },
               .rest = giveBackIdleMemory,
               .updates = makeUpdateController(),
               .trayHost = &trayHosts_.seen()}) {}
  void start() override { tray_.start(); }
  void activate() override { tray_.activate(); }

 private:
  static bool isX11() { return QGuiApplication::platformName() == "xcb"; }

  DisplayLoss loss_;
  DisplayCheck display_;
  PortalAppearance appearance_;
  TrayHosts trayHosts_;
  Look look_{appearance_.value()};
  TrayFrontEnd tray_;
};

std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv) {
  auto application = std::make_unique<QApplication>(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  QApplication::setDesktopFileName("com.fernhollow.quillet.mac");
  loadTranslations(*application);
  return application;
}

}  // namespace

int main(int argc, char** argv) {
  const WindowsMaker windows{makeApplication,
                             [](AppModel& model, Executor mainThread, std::function<std::int64_t()> now) {
                               return std::make_unique<Front>(model, std::move(mainThread), std::move(now));
                             }};
  return runQuillet(argc, argv, &windows);
}
