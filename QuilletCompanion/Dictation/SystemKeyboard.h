// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "QuilletCompanion/Dictation/DictationShortcut.h"
#include "QuilletCompanion/Dictation/ModifierKey.h"
#include "QuilletKit/Base/Observable.h"

namespace quillet {

/// Something that happened on the keyboard. Keys are places on it, by their virtual codes.
struct KeyEvent {
  enum class Kind {
    keyDown,           ///< Any key but the next kind's, without repeats.
    modifiersChanged,  ///< A modifier key or Caps Lock, pressed or let go.
  };
  Kind kind = Kind::keyDown;
  std::uint16_t keyCode = 0;
  std::set<ModifierKey> held;   ///< After the event.
  std::uint64_t modifiers = 0;  ///< What the held keys do on the present keymap, as bits of DictationShortcut.

  bool operator==(const KeyEvent&) const = default;
};

/// The keyboard of the whole desktop, whatever has the focus. Keys that we typed ourselves don't count. Main thread
/// only; handlers run from its event loop, never within a call, and may call anything here.
class SystemKeyboard {
 public:
  /// What was taken from the keyboard. It is given back when destroyed, before the keyboard is; no handler runs then.
  class Taken {
   public:
    virtual ~Taken() = default;
  };
  struct HotKey {
    std::unique_ptr<Taken> taken;  ///< Null if it failed.
    int error = 0;                 ///< The system's number of the failure.
  };
  using OnKey = std::function<void(const KeyEvent&)>;

  virtual ~SystemKeyboard() = default;

  /// Counts the changes of the keymap or of the layout in use: after one, keys are called otherwise, and a shortcut's
  /// modifiers may be others, so hot keys have to be registered anew.
  Observable<unsigned> keymap{0};

  /// Takes a key with exactly these modifiers from all other programs. `onChange` gets true at a press, also at its
  /// repeats, and false when the key is let go. Fails if another program, or another hot key of ours, has it.
  virtual HotKey registerHotKey(const DictationShortcut& shortcut, std::function<void(bool)> onChange) = 0;
  /// Tells of every key, which the others get, too. Null where the system doesn't tell.
  virtual std::unique_ptr<Taken> followKeys(OnKey onKey) = 0;
  /// Tells of every key, and keeps them from the other programs as far as the system can.
  virtual std::unique_ptr<Taken> captureKeys(OnKey onKey) = 0;
  /// What the key writes on the present layout with nothing held, or what the layout calls it; absent if neither.
  virtual std::optional<std::string> keyText(std::uint16_t keyCode) const = 0;
};

}  // namespace quillet
