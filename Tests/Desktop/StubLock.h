// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletCompanion/Target/ScreenLockMonitor.h"

namespace quillet::test {

/// A screen that is never locked.
class StubLock final : public ScreenLockMonitor {
  bool isScreenLocked() override { return false; }
};

}  // namespace quillet::test
