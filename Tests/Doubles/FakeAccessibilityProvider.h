// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "QuilletCompanion/Target/AccessibilityProvider.h"
#include "QuilletKit/Base/Unicode.h"

namespace quillet::test {

/// A new handle for every answer, as a desktop gives: sameness shows in `isSame` only.
class FakeHandle final : public ElementHandle {
 public:
  explicit FakeHandle(int id) : id_(id) {}
  bool isSame(const ElementHandle& other) const override {
    const auto* fake = dynamic_cast<const FakeHandle*>(&other);
    return fake != nullptr && fake->id_ == id_;
  }
  int id() const { return id_; }

 private:
  int id_;
};

/// A text field that edits in UTF-16 units, with switches for the ways in which real fields misbehave.
struct FakeField {
  enum class Write {
    honest,
    ineffective,         ///< Claims success and does nothing.
    differs,             ///< Claims success and inserts something else.
    fails,               ///< Says so.
    failsButChanges,     ///< Says that it failed, and inserts.
    failsButCaretMoves,  ///< Says that it failed, and only moves the caret by one.
  };
  enum class Value { shown, masked /* a bullet per unit */, absent };

  ElementTraits traits{.role = "AXTextField", .subrole = std::nullopt, .isSecure = false, .editable = true};
  std::u16string text;
  AXTextRange selection;
  Write write = Write::honest;
  Value value = Value::shown;
  bool selectionShown = true;
  bool smartQuotes = false;
  bool ignoresTyping = false;
  int looksUntilShown = 0;  ///< An edit shows only after this many reads of the value.

  void insert(std::u16string_view units) {
    std::u16string edited(units);
    if (smartQuotes) std::replace(edited.begin(), edited.end(), u'"', u'\u201D');
    if (looksUntilShown > 0) {
      pending_ += edited;
    } else {
      apply(edited);
    }
  }

  std::optional<std::string> readValue() {
    if (!pending_.empty() && looksUntilShown-- == 0) apply(std::exchange(pending_, {}));
    if (value == Value::absent || traits.isSecure) return std::nullopt;
    return Unicode::toUTF8(value == Value::shown ? text : std::u16string(text.size(), u'\u2022'));
  }

  bool replaceSelection(std::string_view replacement) {
    const auto units = Unicode::toUTF16(replacement);
    if (!units) return false;
    switch (write) {
      case Write::honest:
      case Write::failsButChanges:
        insert(*units);
        return write == Write::honest;
      case Write::differs:
        insert(u"?!");
        return true;
      case Write::failsButCaretMoves:
        selection = {selection.location + 1, 0};
        return false;
      case Write::ineffective:
      case Write::fails:
        break;
    }
    return write == Write::ineffective;
  }

 private:
  void apply(std::u16string_view units) {
    text.replace(static_cast<std::size_t>(selection.location), static_cast<std::size_t>(selection.length), units);
    selection = {selection.location + static_cast<std::int64_t>(units.size()), 0};
  }

  std::u16string pending_;
};

/// A desktop in memory: applications with a window and a focused field each, one of them in front. Starts with one
/// application and one empty text field, everything well. Keys go to whatever has the focus.
class FakeAccessibilityProvider final : public AccessibilityProvider {
 public:
  enum class Call {
    frontApplication,
    focusedWindow,
    focusedElement,
    selectedRange,
    readValue,
    replaceSelection,
    modifiersDown,
    typeUnicode,
    observeFrontApplication,
    observeFocus,
    count
  };
  struct Focus {
    int window = 0;  ///< 0 stands for none.
    int element = 0;
  };

  static constexpr std::int32_t kOwnPid = 100;
  static constexpr std::int32_t kPid = 200;
  static constexpr int kWindow = 1;
  static constexpr int kField = 2;

  FakeAccessibilityProvider() { fields[kField]; }

  FakeField& field() { return fields.at(kField); }
  std::string text() { return Unicode::toUTF8(field().text).value(); }
  void setText(std::string_view text) {
    field().text = Unicode::toUTF16(text).value();
    field().selection = {static_cast<std::int64_t>(field().text.size()), 0};
  }
  /// The desktop's events.
  void tellFrontChanged() { frontObservers_.notify(); }
  void tellFocusMoved(std::int32_t pid, int element) { focusObservers_[pid].notify(handle(element)); }
  void activateOwnApplication() { front = FrontApplication{kOwnPid, "own.application", "Quillet"}; }

  int calls(Call call) const { return counts_[static_cast<std::size_t>(call)]; }
  void resetCalls() { counts_ = {}; }

  bool trusted = true;
  bool locked = false;
  bool secureInput = false;
  bool keyboardTaken = false;
  bool ownApplicationActive = true;
  bool observable = true;  ///< Applications let their focus be observed.
  bool modifiersHeld = false;
  int modifierLooks = 0;  ///< Modifiers are held for this many more looks.
  std::optional<FrontApplication> front = FrontApplication{kPid, "org.example.editor", "Editor"};
  std::map<std::int32_t, Focus> focus{{kPid, {kWindow, kField}}};
  std::map<int, FakeField> fields;
  std::vector<std::u16string> typed;
  /// Typing fails from this chunk on (0 is the first).
  std::optional<std::size_t> typingFailsAt;
  std::function<bool()> behind;  ///< The target can't take more now. May be empty.
  std::size_t mostAtOnce = 20;   ///< Units that a call types.
  /// Runs after each chunk, with how many have been typed: to move the focus at step N, or hold a key.
  std::function<void(std::size_t)> afterChunk;

  std::int32_t ownPID() const override { return kOwnPid; }
  bool isTrusted() override { return trusted; }
  bool isLocked() override { return locked; }
  bool isKeyboardTaken() override { return keyboardTaken; }
  bool isSecureInputEnabled() override {
    const auto* focused = focusedField();
    return secureInput || (focused != nullptr && focused->traits.isSecure);
  }
  bool isOwnApplicationActive() override { return ownApplicationActive && front && front->pid == kOwnPid; }
  std::optional<FrontApplication> frontApplication() override { return counted(Call::frontApplication, front); }
  ElementRef focusedWindow(std::int32_t pid) override {
    return counted(Call::focusedWindow, handle(focusOf(pid).window));
  }
  ElementRef focusedElement(std::int32_t pid) override {
    return counted(Call::focusedElement, handle(focusOf(pid).element));
  }
  ElementTraits inspect(const ElementRef& element) override {
    const auto* found = find(element);
    return found == nullptr ? ElementTraits{} : found->traits;
  }
  std::optional<AXTextRange> selectedRange(const ElementRef& element) override {
    const auto* found = find(element);
    const bool shown = found != nullptr && found->selectionShown;
    return counted(Call::selectedRange, shown ? std::optional(found->selection) : std::nullopt);
  }
  std::optional<std::string> readValue(const ElementRef& element) override {
    auto* found = find(element);
    return counted(Call::readValue, found == nullptr ? std::nullopt : found->readValue());
  }
  bool replaceSelection(const ElementRef& element, std::string_view text) override {
    auto* found = find(element);
    return counted(Call::replaceSelection, found != nullptr && found->replaceSelection(text));
  }
  bool modifiersDown() override {
    return counted(Call::modifiersDown, modifiersHeld || (modifierLooks > 0 && modifierLooks-- > 0));
  }
  std::unique_ptr<FocusObservation> observeFrontApplication(std::function<void()> changed) override {
    counted(Call::observeFrontApplication, true);
    return frontObservers_.add(std::move(changed));
  }
  std::unique_ptr<FocusObservation> observeFocus(std::int32_t pid,
                                                 std::function<void(const ElementRef&)> moved) override {
    counted(Call::observeFocus, true);
    return observable && pid != kOwnPid ? focusObservers_[pid].add(std::move(moved)) : nullptr;
  }
  TypedUnits typeUnicode(const ElementRef& element, std::u16string_view units) override {
    counted(Call::typeUnicode, true);
    auto* focused = focusedField();
    if (focused == nullptr || find(element) != focused) return {};
    if (units.empty() || units.size() > 20 || (typingFailsAt && typed.size() >= *typingFailsAt)) return {};
    if (behind && behind()) return {.later = true};
    const bool inPart = units.size() > mostAtOnce;
    units = units.substr(0, mostAtOnce);
    typed.emplace_back(units);
    if (!focused->ignoresTyping) focused->insert(units);
    if (afterChunk) afterChunk(typed.size());
    return {.count = units.size(), .later = inPart};
  }

 private:
  template <typename T>
  T counted(Call call, T answer) {
    ++counts_[static_cast<std::size_t>(call)];
    return answer;
  }
  Focus focusOf(std::int32_t pid) const {
    const auto found = focus.find(pid);
    return pid == kOwnPid || found == focus.end() ? Focus{} : found->second;
  }
  FakeField* focusedField() { return front ? find(handle(focusOf(front->pid).element)) : nullptr; }
  static ElementRef handle(int id) { return id == 0 ? nullptr : std::make_shared<FakeHandle>(id); }
  FakeField* find(const ElementRef& element) {
    const auto* fake = dynamic_cast<const FakeHandle*>(element.get());
    const auto found = fake == nullptr ? fields.end() : fields.find(fake->id());
    return found == fields.end() ? nullptr : &found->second;
  }

  std::array<int, static_cast<std::size_t>(Call::count)> counts_{};
  FocusObservers<> frontObservers_;
  std::map<std::int32_t, FocusObservers<ElementRef>> focusObservers_;
};

}  // namespace quillet::test
