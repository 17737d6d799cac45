// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "QuilletCompanion/Dictation/SystemKeyboard.h"

namespace quillet::test {

/// A keyboard whose keys a test presses. Its layout writes what the test says.
class FakeSystemKeyboard final : public SystemKeyboard {
 public:
  static constexpr int refused = 10;

  std::map<std::uint16_t, std::string> layout;
  /// Combinations that another program has.
  std::vector<DictationShortcut> othersHave;

  std::size_t followers() const { return followers_.size(); }
  bool captured() const { return !captures_.empty(); }
  std::vector<DictationShortcut> hotKeys() const {
    std::vector<DictationShortcut> all;
    for (const auto& [id, key] : hotKeys_) all.push_back(key.shortcut);
    return all;
  }

  void press(std::uint16_t code) {
    down_.insert(code);
    tell(code, KeyEvent::Kind::keyDown);
    for (const auto& [id, key] : std::map(hotKeys_)) {
      if (!captured() && key.shortcut == DictationShortcut{code, modifiers()}) key.onChange(true);
    }
  }
  void release(std::uint16_t code) {
    down_.erase(code);
    if (isModifier(code)) tell(code, KeyEvent::Kind::modifiersChanged);
    for (const auto& [id, key] : std::map(hotKeys_)) {
      if (key.shortcut.keyCode == code) key.onChange(false);
    }
  }
  void tap(std::uint16_t code) {
    press(code);
    release(code);
  }

  HotKey registerHotKey(const DictationShortcut& shortcut, std::function<void(bool)> onChange) override {
    const auto ours = hotKeys();
    for (const auto& taken : {othersHave, ours}) {
      if (std::find(taken.begin(), taken.end(), shortcut) != taken.end()) return {nullptr, refused};
    }
    return {take(hotKeys_, Key{shortcut, std::move(onChange)}), 0};
  }
  std::unique_ptr<Taken> followKeys(OnKey onKey) override { return take(followers_, std::move(onKey)); }
  std::unique_ptr<Taken> captureKeys(OnKey onKey) override { return take(captures_, std::move(onKey)); }
  std::optional<std::string> keyText(std::uint16_t keyCode) const override {
    const auto found = layout.find(keyCode);
    return found == layout.end() ? std::nullopt : std::optional(found->second);
  }

 private:
  struct Key {
    DictationShortcut shortcut;
    std::function<void(bool)> onChange;
  };
  template <typename T>
  struct Entry final : Taken {
    Entry(std::map<int, T>& entries, int number) : all(entries), id(number) {}
    ~Entry() override { all.erase(id); }
    std::map<int, T>& all;
    int id;
  };
  template <typename T>
  std::unique_ptr<Taken> take(std::map<int, T>& entries, T value) {
    entries.emplace(++lastId_, std::move(value));
    return std::make_unique<Entry<T>>(entries, lastId_);
  }

  static constexpr std::uint16_t capsLock = 57;
  static bool isModifier(std::uint16_t code) { return modifierKey(code) || code == capsLock; }
  std::uint64_t modifiers() const {
    std::uint64_t bits = 0;
    for (const auto code : down_) {
      if (code == 56 || code == 60) bits |= DictationShortcut::kShift;
      if (code == 59 || code == 62) bits |= DictationShortcut::kControl;
      if (code == 58 || code == 61) bits |= DictationShortcut::kOption;
      if (code == 54 || code == 55) bits |= DictationShortcut::kCommand;
    }
    return bits;
  }
  void tell(std::uint16_t code, KeyEvent::Kind kind) {
    KeyEvent event{isModifier(code) ? KeyEvent::Kind::modifiersChanged : kind, code, {}, modifiers()};
    for (const auto down : down_) {
      if (const auto key = modifierKey(down)) event.held.insert(*key);
    }
    for (const auto& handlers : {followers_, captures_}) {
      for (const auto& [id, onKey] : handlers) onKey(event);
    }
  }

  int lastId_ = 0;
  std::set<std::uint16_t> down_;
  std::map<int, Key> hotKeys_;
  std::map<int, OnKey> followers_, captures_;
};

}  // namespace quillet::test
