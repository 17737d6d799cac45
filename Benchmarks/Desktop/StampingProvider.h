// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "QuilletCompanion/Target/AccessibilityProvider.h"

namespace quillet::bench {

/// Passes everything on to another provider and notes when what was called, and how long it took.
class StampingProvider final : public AccessibilityProvider {
 public:
  using Clock = std::chrono::steady_clock;
  enum class Kind { guard, look, write, other };
  struct Call {
    Kind kind;
    Clock::time_point start, end;
  };

  explicit StampingProvider(AccessibilityProvider& inner) : inner_(inner) {}
  /// The calls since the last time this was asked.
  std::vector<Call> take() { return std::exchange(calls_, {}); }

  std::int32_t ownPID() const override { return inner_.ownPID(); }
  bool isTrusted() override {
    return timed(Kind::guard, [&] { return inner_.isTrusted(); });
  }
  bool isLocked() override {
    return timed(Kind::guard, [&] { return inner_.isLocked(); });
  }
  bool isSecureInputEnabled() override {
    return timed(Kind::guard, [&] { return inner_.isSecureInputEnabled(); });
  }
  bool isOwnApplicationActive() override {
    return timed(Kind::guard, [&] { return inner_.isOwnApplicationActive(); });
  }
  std::optional<FrontApplication> frontApplication() override {
    return timed(Kind::guard, [&] { return inner_.frontApplication(); });
  }
  ElementRef focusedWindow(std::int32_t pid) override {
    return timed(Kind::guard, [&] { return inner_.focusedWindow(pid); });
  }
  ElementRef focusedElement(std::int32_t pid) override {
    return timed(Kind::guard, [&] { return inner_.focusedElement(pid); });
  }
  ElementTraits inspect(const ElementRef& element) override {
    return timed(Kind::guard, [&] { return inner_.inspect(element); });
  }
  std::optional<AXTextRange> selectedRange(const ElementRef& element) override {
    return timed(Kind::guard, [&] { return inner_.selectedRange(element); });
  }
  std::optional<std::string> readValue(const ElementRef& element) override {
    return timed(Kind::look, [&] { return inner_.readValue(element); });
  }
  TargetReading readTarget(const ElementRef& element) override {
    return timed(Kind::guard, [&] { return inner_.readTarget(element); });
  }
  FieldReading readField(const ElementRef& element) override {
    return timed(Kind::look, [&] { return inner_.readField(element); });
  }
  bool replaceSelection(const ElementRef& element, std::string_view text) override {
    return timed(Kind::write, [&] { return inner_.replaceSelection(element, text); });
  }
  bool modifiersDown() override {
    return timed(Kind::other, [&] { return inner_.modifiersDown(); });
  }
  void beginTyping() override { inner_.beginTyping(); }
  TypedUnits typeUnicode(const ElementRef& element, std::u16string_view units) override {
    return timed(Kind::other, [&] { return inner_.typeUnicode(element, units); });
  }
  std::unique_ptr<FocusObservation> observeFrontApplication(std::function<void()> changed) override {
    return inner_.observeFrontApplication(std::move(changed));
  }
  std::unique_ptr<FocusObservation> observeFocus(std::int32_t pid,
                                                 std::function<void(const ElementRef&)> moved) override {
    return inner_.observeFocus(pid, std::move(moved));
  }

 private:
  template <typename Operation>
  std::invoke_result_t<Operation> timed(Kind kind, Operation operation) {
    const auto start = Clock::now();
    auto result = operation();
    calls_.push_back({kind, start, Clock::now()});
    return result;
  }

  AccessibilityProvider& inner_;
  std::vector<Call> calls_;
};

}  // namespace quillet::bench
