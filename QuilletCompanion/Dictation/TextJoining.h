// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "QuilletCompanion/Target/AccessibilityProvider.h"

/// How a dictated text joins what stands in the field already.
namespace quillet::TextJoining {

/// What stands before the caret, or before the selection; absent if the field doesn't tell, or tells of a place beyond
/// its end.
std::optional<std::u16string> textBeforeCaret(const FieldReading& field);

/// The text without white space at its ends, with one blank before it where it would else stick to what stands there.
std::string joined(std::string_view recognised, const std::optional<std::u16string>& before);

}  // namespace quillet::TextJoining
