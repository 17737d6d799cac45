// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace quillet {

/// The characters that are likely to follow in a text in which `character` occurs, the likeliest first: those of its
/// alphabet. Empty if we know none.
std::u32string_view companionsOf(char32_t character);

}  // namespace quillet
