// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/ShortcutRecorder.h"

#include <array>
#include <ranges>
#include <span>
#include <utility>

namespace quillet {
namespace {

constexpr auto kShift = DictationShortcut::kShift;
constexpr auto kControl = DictationShortcut::kControl;
constexpr auto kOption = DictationShortcut::kOption;
constexpr auto kCommand = DictationShortcut::kCommand;

constexpr std::uint16_t escape = 53, tab = 48, space = 49;
/// F1 to F20.
constexpr std::array<std::uint16_t, 20> functionKeys{122, 120, 99,  118, 96,  97,  98, 100, 101, 109,
                                                     103, 111, 105, 107, 113, 106, 64, 79,  80,  90};
/// Q W C V X Z A S H M N O P F T ` ,
constexpr std::array<std::uint16_t, 17> reservedWithCommand{12, 13, 8, 9, 7, 6, 0, 1, 4, 46, 45, 31, 35, 3, 17, 50, 43};
/// 3 4 5 Z
constexpr std::array<std::uint16_t, 4> reservedWithCommandAndShift{20, 21, 23, 6};

bool contains(std::span<const std::uint16_t> codes, std::uint16_t code) {
  return std::ranges::find(codes, code) != codes.end();
}

bool isReserved(const DictationShortcut& shortcut) {
  const auto [code, modifiers] = shortcut;
  if (modifiers == kCommand && contains(reservedWithCommand, code)) return true;
  if (modifiers == (kCommand | kShift) && contains(reservedWithCommandAndShift, code)) return true;
  if (code == tab && (modifiers & kCommand) != 0) return true;
  return code == space && (modifiers == kCommand || modifiers == kControl || modifiers == (kCommand | kOption));
}

}  // namespace

std::optional<RefusedShortcut> refusal(const DictationShortcut& shortcut) {
  using Reason = RefusedShortcut::Reason;
  const bool modified = (shortcut.modifiers & (kCommand | kControl | kOption)) != 0;
  if (modifierKey(shortcut.keyCode)) return std::nullopt;
  if (!modified && !contains(functionKeys, shortcut.keyCode)) return RefusedShortcut{Reason::needsModifier, shortcut};
  if (isReserved(shortcut)) return RefusedShortcut{Reason::reserved, shortcut};
  return std::nullopt;
}

std::string text(const RefusedShortcut& refused, const SystemKeyboard& keyboard, const Translate& translate) {
  const auto inWords = [&](std::string_view text) { return translate ? translate(text) : std::string(text); };
  if (refused.reason == RefusedShortcut::Reason::needsModifier) {
    return inWords("Use ⌘, ⌃ or ⌥ with that key, or a modifier key on its own.");
  }
  constexpr std::string_view place = "%1";
  auto words = inWords("macOS already uses %1.");
  const auto at = words.find(place);
  if (at != std::string::npos) words.replace(at, place.size(), displayText(refused.shortcut, keyboard, translate));
  return words;
}

ShortcutRecorder::ShortcutRecorder(SystemKeyboard& keyboard, std::function<void(bool)> pauseShortcuts)
    : keyboard_(keyboard), pauseShortcuts_(std::move(pauseShortcuts)) {}

ShortcutRecorder::~ShortcutRecorder() {
  end();
}

void ShortcutRecorder::begin() {
  if (recording_.get()) return;
  problem_.set(std::nullopt);
  loneModifier_.reset();
  recording_.set(true);
  pauseShortcuts_(true);
  captured_ = keyboard_.captureKeys([this](const KeyEvent& event) { handle(event); });
}

void ShortcutRecorder::end() {
  captured_.reset();
  if (!recording_.get()) return;
  loneModifier_.reset();
  recording_.set(false);
  pauseShortcuts_(false);
}

void ShortcutRecorder::handle(const KeyEvent& event) {
  event.kind == KeyEvent::Kind::keyDown ? keyDown(event) : modifiersChanged(event);
}

void ShortcutRecorder::modifiersChanged(const KeyEvent& event) {
  const auto key = modifierKey(event.keyCode);
  if (!key) return;
  if (event.held == std::set{*key}) {
    loneModifier_ = key;
  } else if (event.held.empty() && loneModifier_ == key) {
    accept({.keyCode = event.keyCode});
  } else {
    loneModifier_.reset();
  }
}

void ShortcutRecorder::keyDown(const KeyEvent& event) {
  const DictationShortcut pressed{event.keyCode, event.modifiers & DictationShortcut::kAllModifiers};
  loneModifier_.reset();
  if (pressed == DictationShortcut{.keyCode = escape}) return end();
  if (const auto refused = refusal(pressed)) {
    problem_.set(refused);
  } else {
    accept(pressed);
  }
}

void ShortcutRecorder::accept(const DictationShortcut& shortcut) {
  problem_.set(std::nullopt);
  end();
  if (onChange) onChange(shortcut);
}

}  // namespace quillet
