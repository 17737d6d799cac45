// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>

#include "QuilletCompanion/Dictation/DictationShortcut.h"
#include "QuilletCompanion/Dictation/HotkeyEvent.h"
#include "QuilletCompanion/Dictation/ModifierKey.h"
#include "QuilletCompanion/Dictation/SystemKeyboard.h"

namespace quillet {

/// Turns the two shortcuts and Esc into events, whatever application has the focus. Main thread only.
class HotkeyMonitor {
 public:
  enum class Role { toggle, hold, cancel };

  explicit HotkeyMonitor(SystemKeyboard& keyboard);
  HotkeyMonitor(const HotkeyMonitor&) = delete;
  HotkeyMonitor& operator=(const HotkeyMonitor&) = delete;

  std::function<void(HotkeyEvent)> onEvent;
  /// `unavailable` is another one since the keymap changed.
  std::function<void()> onUnavailableChange;

  /// Replaces both shortcuts; a dictation that one of them holds no longer hears of its release.
  void configure(std::optional<DictationShortcut> toggle, std::optional<DictationShortcut> hold);
  /// Esc is ours only while that is on.
  void setCancelActive(bool active);
  /// Those whose keys the system refused.
  const std::set<Role>& unavailable() const { return unavailable_; }

 private:
  /// A press of a modifier key that is a shortcut by itself.
  struct ModifierPress {
    bool tainted = false;  ///< It wasn't alone, so it no longer counts.
  };

  void forget(Role role);
  void apply(Role role, const DictationShortcut& shortcut);
  bool registerKey(Role role, const DictationShortcut& shortcut);
  void registerAnew();
  void changed(Role role, bool pressed);
  void handle(const KeyEvent& event);
  std::optional<HotkeyEvent> modifiersChanged(Role role, ModifierKey key, const std::set<ModifierKey>& held);
  std::optional<HotkeyEvent> released(Role role);
  std::optional<HotkeyEvent> taint(Role role);
  void emit(HotkeyEvent event) const;

  SystemKeyboard& keyboard_;
  std::set<Role> unavailable_;
  std::map<Role, DictationShortcut> wanted_;  ///< Those that are, or failed to be, registered.
  std::map<Role, std::unique_ptr<SystemKeyboard::Taken>> registered_;
  std::set<Role> comboDown_;  ///< Registered keys that are down: the rest are repeats.
  std::map<Role, ModifierKey> modifierRoles_;
  std::map<Role, ModifierPress> modifierState_;
  std::unique_ptr<SystemKeyboard::Taken> following_;
  Observable<unsigned>::Subscription keymap_;
};

}  // namespace quillet
