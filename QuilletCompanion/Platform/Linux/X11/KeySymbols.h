// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

// Xlib's own headers define macros like None and Bool; only sources include them.
struct _XDisplay;

namespace quillet::KeySymbols {

/// The X symbol that writes a character.
unsigned long of(char32_t character);
/// What a symbol writes; the older symbols are known to Xlib under a UTF-8 locale only.
std::optional<char32_t> character(_XDisplay* display, unsigned long symbol);
/// What to call a key that has this symbol: by what it writes, also on the keypad and as a dead key, else by the
/// symbol's own name. Absent for none.
std::optional<std::string> name(_XDisplay* display, unsigned long symbol);

}  // namespace quillet::KeySymbols
