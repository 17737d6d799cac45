// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "QuilletCompanion/Dictation/DictationShortcut.h"
#include "QuilletCompanion/Dictation/ModifierKey.h"
#include "QuilletCompanion/Dictation/ShortcutText.h"
#include "QuilletCompanion/Dictation/SystemKeyboard.h"
#include "QuilletKit/Base/Observable.h"

namespace quillet {

/// Why a shortcut can't be chosen.
struct RefusedShortcut {
  enum class Reason { needsModifier, reserved };
  Reason reason = Reason::needsModifier;
  DictationShortcut shortcut;

  bool operator==(const RefusedShortcut&) const = default;
};

/// Absent if the shortcut can be chosen.
std::optional<RefusedShortcut> refusal(const DictationShortcut& shortcut);
/// The words for people.
std::string text(const RefusedShortcut& refused, const SystemKeyboard& keyboard, const Translate& translate = {});

/// Lets the user press a new shortcut. Main thread only.
class ShortcutRecorder {
 public:
  /// `pauseShortcuts` is told when the present shortcuts must be off, so that they can be pressed, and when no longer.
  ShortcutRecorder(SystemKeyboard& keyboard, std::function<void(bool)> pauseShortcuts);
  ~ShortcutRecorder();
  ShortcutRecorder(const ShortcutRecorder&) = delete;
  ShortcutRecorder& operator=(const ShortcutRecorder&) = delete;

  /// Gets what was recorded, after recording has ended.
  std::function<void(DictationShortcut)> onChange;

  const Observable<bool>& recording() const { return recording_; }
  /// What is wrong with what was pressed last; it goes with the next try.
  const Observable<std::optional<RefusedShortcut>>& problem() const { return problem_; }

  void begin();
  /// Without a change.
  void end();

 private:
  void handle(const KeyEvent& event);
  void modifiersChanged(const KeyEvent& event);
  void keyDown(const KeyEvent& event);
  void accept(const DictationShortcut& shortcut);

  SystemKeyboard& keyboard_;
  std::function<void(bool)> pauseShortcuts_;
  Observable<bool> recording_{false};
  Observable<std::optional<RefusedShortcut>> problem_;
  std::unique_ptr<SystemKeyboard::Taken> captured_;
  std::optional<ModifierKey> loneModifier_;  ///< Held, and nothing else was pressed since.
};

}  // namespace quillet
