// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/UpdateView.h"

#include <utility>

namespace quillet {

UpdateView::UpdateView(AppUpdater& updater, Executor mainThread)
    : ViewObject(std::move(mainThread)), controller_(updater.controller()) {
  if (!available()) return;
  follow(controller_->pendingVersion());
  follow(controller_->automaticallyChecks());
  follow(controller_->automaticallyInstalls());
}

QString UpdateView::pendingVersion() const {
  return available() ? toQt(controller_->pendingVersion().get().value_or("")) : QString();
}

void UpdateView::setAutomaticallyChecks(bool checks) {
  if (available()) controller_->setAutomaticallyChecks(checks);
}

void UpdateView::setAutomaticallyInstalls(bool installs) {
  if (available()) controller_->setAutomaticallyInstalls(installs);
}

void UpdateView::check() {
  if (available()) controller_->checkForUpdates();
}

}  // namespace quillet
