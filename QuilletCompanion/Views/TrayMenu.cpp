// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/TrayMenu.h"

#include <QCoreApplication>
#include <utility>

namespace quillet {

std::unique_ptr<QMenu> makeTrayMenu(DeskView& desk, std::function<void()> open) {
  using App = QCoreApplication;
  auto menu = std::make_unique<QMenu>();
  const auto leadTo = [&](const QString& text, const QString& window) {
    return menu->addAction(text, &desk, [&desk, window] { desk.openWindow(window); });
  };
  menu->addAction(inWords("Open Quillet"), &desk, std::move(open));
  menu->addSeparator();
  // The popover has the same rows.
  menu->addAction(App::translate("PopoverWindow", "Pair an iPhone…"), &desk, &DeskView::pair);
  leadTo(App::translate("PopoverWindow", "Test connection…"), "connection-test");
  auto* const setUp = leadTo(App::translate("PopoverWindow", "Continue setup…"), "onboarding");
  leadTo(App::translate("PopoverWindow", "Statistics"), "statistics");
  leadTo(App::translate("PopoverWindow", "Settings"), "settings");
  menu->addSeparator();
  menu->addAction(App::translate("PopoverWindow", "Quit Quillet"), &desk, &DeskView::quit);
  const auto update = [&desk, setUp] { setUp->setVisible(!desk.onboardingCompleted()); };
  QObject::connect(&desk, &ViewObject::changed, setUp, update);
  update();
  return menu;
}

}  // namespace quillet
