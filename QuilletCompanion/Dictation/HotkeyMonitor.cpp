// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/HotkeyMonitor.h"

#include <utility>
#include <vector>

#include "QuilletKit/Base/Log.h"
#include "QuilletKit/Base/RawValue.h"

namespace quillet {
namespace {

using Role = HotkeyMonitor::Role;

constexpr DictationShortcut escape{.keyCode = 53};
constexpr auto roleNames = rawTable<3>({"toggle", "hold", "cancel"});

HotkeyEvent pressEvent(Role role) {
  switch (role) {
    case Role::toggle:
      return HotkeyEvent::toggle;
    case Role::hold:
      return HotkeyEvent::holdDown;
    case Role::cancel:
      break;
  }
  return HotkeyEvent::cancel;
}

}  // namespace

HotkeyMonitor::HotkeyMonitor(SystemKeyboard& keyboard)
    : keyboard_(keyboard), keymap_(keyboard.keymap.observe([this](unsigned) { registerAnew(); })) {}

void HotkeyMonitor::configure(std::optional<DictationShortcut> toggle, std::optional<DictationShortcut> hold) {
  for (const auto role : {Role::toggle, Role::hold}) forget(role);
  modifierRoles_.clear();
  modifierState_.clear();
  if (toggle) apply(Role::toggle, *toggle);
  if (hold) apply(Role::hold, *hold);
  if (modifierRoles_.empty()) {
    following_.reset();
  } else if (following_ == nullptr) {
    following_ = keyboard_.followKeys([this](const KeyEvent& event) { handle(event); });
  }
}

void HotkeyMonitor::setCancelActive(bool active) {
  if (!active) {
    forget(Role::cancel);
  } else if (!registered_.contains(Role::cancel)) {
    registerKey(Role::cancel, escape);
  }
}

void HotkeyMonitor::forget(Role role) {
  registered_.erase(role);
  wanted_.erase(role);
  comboDown_.erase(role);
  unavailable_.erase(role);
}

void HotkeyMonitor::apply(Role role, const DictationShortcut& shortcut) {
  if (const auto key = modifierKey(shortcut.keyCode)) {
    modifierRoles_[role] = *key;
  } else if (!registerKey(role, shortcut)) {
    unavailable_.insert(role);
  }
}

bool HotkeyMonitor::registerKey(Role role, const DictationShortcut& shortcut) {
  wanted_[role] = shortcut;
  auto [taken, error] = keyboard_.registerHotKey(shortcut, [this, role](bool pressed) { changed(role, pressed); });
  if (taken == nullptr) {
    Log::error("dictation", "Shortcut for {} unavailable: {}", roleNames.at(static_cast<std::size_t>(role)), error);
    return false;
  }
  registered_[role] = std::move(taken);
  return true;
}

/// What is down stays so: its release is still told.
void HotkeyMonitor::registerAnew() {
  registered_.clear();
  const auto before = std::exchange(unavailable_, {});
  for (const auto& [role, shortcut] : std::map(wanted_)) {
    if (!registerKey(role, shortcut) && role != Role::cancel) unavailable_.insert(role);
  }
  if (unavailable_ != before && onUnavailableChange) onUnavailableChange();
}

void HotkeyMonitor::changed(Role role, bool pressed) {
  if (pressed) {
    if (comboDown_.insert(role).second) emit(pressEvent(role));
  } else if (comboDown_.erase(role) != 0 && role == Role::hold) {
    emit(HotkeyEvent::holdUp);
  }
}

void HotkeyMonitor::handle(const KeyEvent& event) {
  std::vector<HotkeyEvent> events;  // whoever gets one may configure us
  for (const auto& [role, key] : modifierRoles_) {
    const auto told = event.kind == KeyEvent::Kind::keyDown ? taint(role) : modifiersChanged(role, key, event.held);
    if (told) events.push_back(*told);
  }
  for (const auto told : events) emit(told);
}

std::optional<HotkeyEvent> HotkeyMonitor::modifiersChanged(Role role, ModifierKey key,
                                                           const std::set<ModifierKey>& held) {
  const bool alone = held == std::set{key};
  if (!held.contains(key)) return released(role);
  if (modifierState_.contains(role)) return alone ? std::nullopt : taint(role);
  modifierState_[role] = {.tainted = !alone};
  return alone && role == Role::hold ? std::optional(HotkeyEvent::holdDown) : std::nullopt;
}

std::optional<HotkeyEvent> HotkeyMonitor::released(Role role) {
  const auto press = modifierState_.extract(role);
  if (press.empty() || press.mapped().tainted) return std::nullopt;
  return role == Role::hold ? HotkeyEvent::holdUp : HotkeyEvent::toggle;
}

std::optional<HotkeyEvent> HotkeyMonitor::taint(Role role) {
  const auto press = modifierState_.find(role);
  if (press == modifierState_.end() || press->second.tainted) return std::nullopt;
  press->second.tainted = true;
  return role == Role::hold ? std::optional(HotkeyEvent::holdInterrupted) : std::nullopt;
}

void HotkeyMonitor::emit(HotkeyEvent event) const {
  if (onEvent) onEvent(event);
}

}  // namespace quillet
