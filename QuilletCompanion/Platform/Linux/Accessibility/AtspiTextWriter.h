// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiElement.h"

namespace quillet {

enum class Replacement {
  claimed,   ///< The toolkit raised no error, which proves nothing.
  failed,    ///< Nothing has changed, as far as that can be told.
  rejected,  ///< The same, and typing would only take the selection away.
};

/// Puts `text` (UTF-8) in place of the selection, or at the caret, and leaves the caret behind it. Only for toolkits
/// that are known to do as told; `failed` for every other toolkit, for what isn't editable, and for a text that can't
/// be handed over. A selection stands until the text is seen beside it.
Replacement replaceSelectedText(const AtspiElement& element, std::string_view text, CallBudget& budget);

}  // namespace quillet
