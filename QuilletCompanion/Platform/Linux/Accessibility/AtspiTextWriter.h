// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiElement.h"

namespace quillet {

/// Puts `text` (UTF-8) in place of the selection, or at the caret, and leaves the caret behind it. Only for toolkits
/// that are known to do as told; false, with nothing touched, for every other toolkit, for what isn't editable, and
/// for a text that can't be handed over. True means that the toolkit raised no error, which proves nothing.
bool replaceSelectedText(const AtspiElement& element, std::string_view text, CallBudget& budget);

}  // namespace quillet
