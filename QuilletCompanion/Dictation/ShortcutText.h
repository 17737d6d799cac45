// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "QuilletCompanion/Dictation/DictationShortcut.h"
#include "QuilletCompanion/Dictation/SystemKeyboard.h"

namespace quillet {

/// Gives a text of ours in the user's words; an empty function leaves it as it stands.
using Translate = std::function<std::string(std::string_view)>;

/// What a shortcut is called on the present layout, such as "⌃⌥Space" or "Right ⌥".
std::string displayText(const DictationShortcut& shortcut, const SystemKeyboard& keyboard,
                        const Translate& translate = {});

/// The shortcut that a text names: modifiers in words ("ctrl", "alt", "shift", "super", also "control", "option",
/// "command", ...) or signs, then a key, with "+" or blanks between, as in "ctrl+alt+space"; or a modifier key alone,
/// as in "right alt". A letter is looked up on the present layout. Absent for what isn't a shortcut.
std::optional<DictationShortcut> shortcutFromText(std::string_view text, const SystemKeyboard& keyboard);

}  // namespace quillet
