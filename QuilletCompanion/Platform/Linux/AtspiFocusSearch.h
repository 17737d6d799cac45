// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "QuilletCompanion/Platform/Linux/AtspiElement.h"

namespace quillet {

/// Looks through an application for the text element that has the focus, as far as the budget goes. Absent if there is
/// none, or it wasn't found in that time. Tens to hundreds of milliseconds in large windows: for applications whose
/// focus events we haven't seen.
AtspiElementRef searchFocusedText(std::int32_t pid, CallBudget& budget);

/// The process that an accessible object lives in; the bus answers, not the application. 0 if it is gone.
std::int32_t processOf(AtspiAccessible* accessible);

}  // namespace quillet
