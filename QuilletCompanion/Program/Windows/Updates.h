// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "QuilletCompanion/App/AppUpdater.h"

namespace quillet {

/// What updates the program, or null. Whoever packages Quillet so that it updates itself gives it here.
std::unique_ptr<UpdateController> makeUpdateController();

}  // namespace quillet
