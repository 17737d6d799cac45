// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "QuilletCompanion/App/AppUpdater.h"

namespace quillet::test {

/// Holds what was chosen, and counts how often it was asked to look.
class FakeUpdateController final : public UpdateController {
 public:
  const Observable<std::optional<std::string>>& pendingVersion() const override { return pending; }
  const Observable<bool>& automaticallyChecks() const override { return checks; }
  void setAutomaticallyChecks(bool value) override { checks.set(value); }
  const Observable<bool>& automaticallyInstalls() const override { return installs; }
  void setAutomaticallyInstalls(bool value) override { installs.set(value); }
  void checkForUpdates() override { ++asked; }

  Observable<std::optional<std::string>> pending{"1.2.0"};
  Observable<bool> checks{true}, installs{false};
  int asked = 0;
};

}  // namespace quillet::test
