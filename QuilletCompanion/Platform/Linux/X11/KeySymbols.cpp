// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/X11/KeySymbols.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/keysym.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace quillet::KeySymbols {
namespace {

constexpr unsigned long unicodeKeysyms = 0x01000000;

struct DeadKey {
  KeySym symbol;
  char32_t sign;
};
constexpr std::array deadKeys{
    DeadKey{XK_dead_grave, U'`'},   DeadKey{XK_dead_acute, U'´'},     DeadKey{XK_dead_circumflex, U'^'},
    DeadKey{XK_dead_tilde, U'~'},   DeadKey{XK_dead_macron, U'¯'},    DeadKey{XK_dead_diaeresis, U'¨'},
    DeadKey{XK_dead_cedilla, U'¸'}, DeadKey{XK_dead_abovering, U'°'}, DeadKey{XK_dead_caron, U'ˇ'},
};

/// What the keypad's keys write that move with its lock off, from Home to Delete.
constexpr std::u32string_view keypadMoves = U"7486293150.";

bool isLatin1(unsigned long value) {
  return (value >= 0x20 && value <= 0x7e) || (value >= 0xa0 && value <= 0xff);
}

/// Signs and digits of the keypad are numbered as in ASCII.
bool isKeypadCharacter(KeySym symbol) {
  return (symbol >= XK_KP_Multiply && symbol <= XK_KP_9) || symbol == XK_KP_Equal;
}

std::optional<char32_t> signOf(Display* display, KeySym symbol) {
  const auto* const dead = std::ranges::find(deadKeys, symbol, &DeadKey::symbol);
  if (dead != deadKeys.end()) return dead->sign;
  if (symbol >= XK_KP_Home && symbol <= XK_KP_Delete) return keypadMoves.at(symbol - XK_KP_Home);
  if (isKeypadCharacter(symbol)) return static_cast<char32_t>(symbol & 0x7f);
  return character(display, symbol);
}

}  // namespace

unsigned long of(char32_t character) {
  return isLatin1(character) ? character : unicodeKeysyms | character;
}

std::optional<char32_t> character(_XDisplay* display, unsigned long symbol) {
  if (isLatin1(symbol)) return static_cast<char32_t>(symbol);
  if ((symbol & 0xff000000) == unicodeKeysyms) return static_cast<char32_t>(symbol & 0xffffff);
  if (symbol < 0x100 || symbol >= 0xfe00) return std::nullopt;
  std::array<char, 16> text{};
  const int length = XkbTranslateKeySym(display, &symbol, 0, text.data(), static_cast<int>(text.size()), nullptr);
  if (length < 2 || length > static_cast<int>(text.size())) return std::nullopt;
  UChar32 found = 0;
  int position = 0;
  U8_NEXT(text.data(), position, length, found);
  return found < 0 || position != length ? std::nullopt : std::optional(static_cast<char32_t>(found));
}

std::optional<std::string> name(_XDisplay* display, unsigned long symbol) {
  if (symbol == NoSymbol) return std::nullopt;
  if (const auto sign = signOf(display, symbol)) {
    std::array<char, 4> text{};
    std::size_t length = 0;
    U8_APPEND_UNSAFE(text.data(), length, *sign);
    return std::string(text.data(), length);
  }
  const char* const known = XKeysymToString(symbol);
  if (known == nullptr) return std::nullopt;
  constexpr std::string_view vendor = "XF86";
  std::string words(known);
  if (words.starts_with(vendor)) words.erase(0, vendor.size());
  std::ranges::replace(words, '_', ' ');
  return words;
}

}  // namespace quillet::KeySymbols
