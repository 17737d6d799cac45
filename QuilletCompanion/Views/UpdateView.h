// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include "QuilletCompanion/App/AppUpdater.h"
#include "QuilletCompanion/Views/ViewObject.h"

namespace quillet {

/// New versions of the program, as menu and settings show them.
class UpdateView final : public ViewObject {
  Q_OBJECT
  /// Whether the program updates itself; nothing else means anything where it doesn't.
  Q_PROPERTY(bool available READ available CONSTANT)
  /// Empty while none waits.
  Q_PROPERTY(QString pendingVersion READ pendingVersion NOTIFY changed)
  Q_PROPERTY(bool automaticallyChecks READ automaticallyChecks WRITE setAutomaticallyChecks NOTIFY changed)
  Q_PROPERTY(bool automaticallyInstalls READ automaticallyInstalls WRITE setAutomaticallyInstalls NOTIFY changed)

 public:
  UpdateView(AppUpdater& updater, Executor mainThread);

  bool available() const { return controller_ != nullptr; }
  QString pendingVersion() const;
  bool automaticallyChecks() const { return available() && controller_->automaticallyChecks().get(); }
  bool automaticallyInstalls() const { return available() && controller_->automaticallyInstalls().get(); }
  void setAutomaticallyChecks(bool checks);
  void setAutomaticallyInstalls(bool installs);
  Q_INVOKABLE void check();

 private:
  UpdateController* controller_;
};

}  // namespace quillet
