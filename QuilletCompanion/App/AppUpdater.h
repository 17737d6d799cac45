// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "QuilletKit/Base/Observable.h"

namespace quillet {

/// What fetches new versions of the program: the seam for whoever packages Quillet without a package manager behind
/// it. Main thread only.
class UpdateController {
 public:
  virtual ~UpdateController() = default;
  /// The version that waits to be installed, for example "1.2.0".
  virtual const Observable<std::optional<std::string>>& pendingVersion() const = 0;
  virtual const Observable<bool>& automaticallyChecks() const = 0;
  virtual void setAutomaticallyChecks(bool checks) = 0;
  virtual const Observable<bool>& automaticallyInstalls() const = 0;
  virtual void setAutomaticallyInstalls(bool installs) = 0;
  /// Looks for a new version now, and tells the user what it finds by itself.
  virtual void checkForUpdates() = 0;
};

/// The program's updates. Without a controller there are none, and nothing about them is shown.
class AppUpdater {
 public:
  explicit AppUpdater(std::unique_ptr<UpdateController> controller = nullptr) : controller_(std::move(controller)) {}
  /// Null where the program doesn't update itself.
  UpdateController* controller() const { return controller_.get(); }

 private:
  std::unique_ptr<UpdateController> controller_;
};

}  // namespace quillet
