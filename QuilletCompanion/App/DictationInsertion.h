// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "QuilletCompanion/App/Services.h"
#include "QuilletCompanion/Dictation/DictationController.h"

namespace quillet {

/// Puts a dictated text where the focus is when its turn comes, joined with what stands there. Cancelling it ends it
/// at its next step; what is in the field by then stays.
Awaitable<DictationInsertion> insertDictation(std::shared_ptr<Services> services, AccessibilityProvider& provider,
                                              std::string text);

}  // namespace quillet
