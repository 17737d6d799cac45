// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/ShortcutText.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "QuilletKit/Base/Unicode.h"

namespace quillet {
namespace {

using Named = std::pair<std::uint16_t, std::string_view>;

/// Keys that are called the same on every layout.
constexpr std::array namedKeys{
    Named{49, "Space"}, Named{36, "↩"},    Named{48, "⇥"},    Named{51, "⌫"},    Named{117, "⌦"},   Named{53, "⎋"},
    Named{123, "←"},    Named{124, "→"},   Named{126, "↑"},   Named{125, "↓"},   Named{115, "↖"},   Named{119, "↘"},
    Named{116, "⇞"},    Named{121, "⇟"},   Named{122, "F1"},  Named{120, "F2"},  Named{99, "F3"},   Named{118, "F4"},
    Named{96, "F5"},    Named{97, "F6"},   Named{98, "F7"},   Named{100, "F8"},  Named{101, "F9"},  Named{109, "F10"},
    Named{103, "F11"},  Named{111, "F12"}, Named{105, "F13"}, Named{107, "F14"}, Named{113, "F15"}, Named{106, "F16"},
    Named{64, "F17"},   Named{79, "F18"},  Named{80, "F19"},  Named{90, "F20"},
};

struct ModifierNames {
  std::uint64_t bit;
  std::string_view sign;
  std::array<std::string_view, 5> words;
  ModifierKey left, right;
};

/// In the order of display.
constexpr std::array modifierNames{
    ModifierNames{
        DictationShortcut::kControl, "⌃", {"CONTROL", "CTRL"}, ModifierKey::leftControl, ModifierKey::rightControl},
    ModifierNames{
        DictationShortcut::kOption, "⌥", {"OPTION", "ALT", "OPT"}, ModifierKey::leftOption, ModifierKey::rightOption},
    ModifierNames{DictationShortcut::kShift, "⇧", {"SHIFT"}, ModifierKey::leftShift, ModifierKey::rightShift},
    ModifierNames{DictationShortcut::kCommand,
                  "⌘",
                  {"COMMAND", "CMD", "SUPER", "META", "WIN"},
                  ModifierKey::leftCommand,
                  ModifierKey::rightCommand},
};

/// What people write for the keys that have a sign, and for others.
constexpr std::array typedKeys{
    Named{36, "RETURN"},    Named{36, "ENTER"},  Named{48, "TAB"},   Named{51, "BACKSPACE"}, Named{117, "DELETE"},
    Named{117, "DEL"},      Named{53, "ESCAPE"}, Named{53, "ESC"},   Named{123, "LEFT"},     Named{124, "RIGHT"},
    Named{126, "UP"},       Named{125, "DOWN"},  Named{115, "HOME"}, Named{119, "END"},      Named{116, "PAGEUP"},
    Named{121, "PAGEDOWN"}, Named{49, "SPACE"},  Named{63, "FN"},
};

constexpr std::uint16_t codesOfPlaces = 0x200;

std::string upperCased(std::string_view utf8) {
  std::string upper;
  icu::UnicodeString::fromUTF8({utf8.data(), static_cast<int>(utf8.size())})
      .toUpper(icu::Locale::getRoot())
      .toUTF8String(upper);
  return upper;
}

std::string inWords(std::string_view text, const Translate& translate) {
  return translate ? translate(text) : std::string(text);
}

/// Empty if the layout has none.
std::string layoutName(std::uint16_t keyCode, const SystemKeyboard& keyboard) {
  return upperCased(Unicode::trim(keyboard.keyText(keyCode).value_or("")));
}

std::string keyName(std::uint16_t keyCode, const SystemKeyboard& keyboard, const Translate& translate) {
  const auto* const named = std::ranges::find(namedKeys, keyCode, &Named::first);
  if (named != namedKeys.end()) return inWords(named->second, translate);
  auto name = layoutName(keyCode, keyboard);
  return name.empty() ? inWords("Key ", translate) + std::to_string(keyCode) : name;
}

template <std::size_t count>
std::optional<std::uint16_t> codeNamed(const std::array<Named, count>& keys, std::string_view name) {
  const auto* const found = std::ranges::find(keys, name, &Named::second);
  return found == keys.end() ? std::nullopt : std::optional(found->first);
}

std::optional<std::uint16_t> codeOf(std::string_view name, const SystemKeyboard& keyboard) {
  if (const auto code = codeNamed(namedKeys, name)) return code;
  if (const auto code = codeNamed(typedKeys, name)) return code;
  for (std::uint16_t code = 0; code < codesOfPlaces; ++code) {
    if (layoutName(code, keyboard) == name) return code;
  }
  return std::nullopt;
}

const ModifierNames* modifierNamed(std::string_view name) {
  const auto* const found = std::ranges::find_if(modifierNames, [&](const ModifierNames& names) {
    return names.sign == name || std::ranges::find(names.words, name) != names.words.end();
  });
  return name.empty() || found == modifierNames.end() ? nullptr : found;
}

/// Takes the next word, or sign of a modifier, off the front, and what parts it from a next one.
std::string_view takeWord(std::string_view& rest) {
  auto length = std::min(rest.find_first_of("+ ", 1), rest.size());
  for (const auto& names : modifierNames) {
    if (rest.starts_with(names.sign)) length = names.sign.size();
  }
  const auto word = rest.substr(0, length);
  rest = Unicode::trim(rest.substr(length));
  if (rest.size() > 1 && rest.front() == '+') rest = Unicode::trim(rest.substr(1));
  return word;
}

std::optional<ModifierKey> loneModifier(std::string_view text) {
  const bool left = text.starts_with("LEFT ");
  if (!left && !text.starts_with("RIGHT ")) return std::nullopt;
  const auto* const names = modifierNamed(Unicode::trim(text.substr(text.find(' '))));
  if (names == nullptr) return std::nullopt;
  return left ? names->left : names->right;
}

}  // namespace

std::string displayText(const DictationShortcut& shortcut, const SystemKeyboard& keyboard, const Translate& translate) {
  if (const auto key = modifierKey(shortcut.keyCode)) return inWords(displayName(*key), translate);
  std::string text;
  for (const auto& names : modifierNames) {
    if ((shortcut.modifiers & names.bit) != 0) text += inWords(names.sign, translate);
  }
  return text + keyName(shortcut.keyCode, keyboard, translate);
}

std::optional<DictationShortcut> shortcutFromText(std::string_view text, const SystemKeyboard& keyboard) {
  const std::string upper = upperCased(Unicode::trim(text));
  if (const auto lone = loneModifier(upper)) return DictationShortcut{.keyCode = keyCode(*lone)};
  DictationShortcut shortcut;
  std::string_view rest = upper;
  auto word = takeWord(rest);
  while (const auto* const names = modifierNamed(word)) {
    shortcut.modifiers |= names->bit;
    word = takeWord(rest);
  }
  const auto code = word.empty() || !rest.empty() ? std::nullopt : codeOf(word, keyboard);
  if (!code || (modifierKey(*code) && shortcut.modifiers != 0)) return std::nullopt;
  shortcut.keyCode = *code;
  return shortcut;
}

}  // namespace quillet
