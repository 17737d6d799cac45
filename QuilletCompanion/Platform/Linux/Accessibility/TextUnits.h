// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillet::TextUnits {

/// UTF-16 units of a valid UTF-8 text.
std::int64_t utf16Length(std::string_view text);
std::int64_t codePoints(std::string_view text);

/// Takes out the U+FEFF that some web engines put after each character outside the BMP.
std::string withoutFillers(std::string_view text);

/// Stands for a child in the text of a web container.
inline constexpr std::string_view embeddedObject = "\uFFFC";

}  // namespace quillet::TextUnits
