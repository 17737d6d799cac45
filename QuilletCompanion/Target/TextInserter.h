// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "QuilletCompanion/Target/TargetGuard.h"
#include "QuilletKit/Async/Clock.h"

namespace quillet {

struct InsertionPacing {
  Duration pollInterval = std::chrono::milliseconds(40);
  Duration accessibilitySettle = std::chrono::milliseconds(450);
  Duration typingSettle = std::chrono::seconds(2);
  Duration interChunkDelay = std::chrono::milliseconds(6);
  Duration modifierWait = std::chrono::seconds(1);
  int chunkUTF16Limit = 16;
};

struct InsertionReport {
  InsertionOutcome outcome = InsertionOutcome::refused;
  std::optional<RefusalReason> reason;
  std::optional<InsertionMethod> method;
  bool operator==(const InsertionReport&) const = default;
};

/// Puts a text into the field of a validated snapshot and says truthfully what happened: writes through accessibility
/// and looks, or types in small chunks with the target checked before each. Never uses the clipboard, never presses
/// Return. Main thread only.
class TextInserter {
 public:
  TextInserter(AccessibilityProvider& provider, TargetGuard& targetGuard, InsertionPacing pacing, TimeSource time);

  /// The caller has validated `snapshot`. `text` is UTF-8. Never fails; a cancellation doesn't stop it, because text
  /// that is half typed is worse. Should the inserter itself be destroyed meanwhile, it ends at its next suspension, as
  /// cancelled operations do.
  Awaitable<InsertionReport> insert(std::string text, TargetSnapshot snapshot);

 private:
  /// A field at one moment.
  struct FieldState {
    std::optional<std::u16string> value;
    std::optional<AXTextRange> selection;
    bool observable() const { return value || selection; }
  };
  enum class WriteVerdict { applied, noEffect, changedUnexpectedly, unobservable };
  struct Job;

  static WriteVerdict compare(const FieldState& before, const FieldState& after, const std::u16string& text);
  static WriteVerdict compareValues(const FieldState& before, const FieldState& after, const std::u16string& text);
  FieldState look(const ElementRef& element);
  InsertionReport giveToLocalTest(const std::string& text);
  Awaitable<InsertionReport> insertIntoElement(const Job& job);
  /// Absent when nothing was written and typing may be tried.
  Awaitable<std::optional<InsertionReport>> write(const Job& job);
  Awaitable<WriteVerdict> awaitVerdict(const Job& job, Duration settle);
  Awaitable<InsertionReport> type(const Job& job);
  std::optional<RefusalReason> refusalBeforeTyping(const Job& job);
  /// Posts one chunk. Gives why it may not go, or absent.
  std::optional<RefusalReason> typeChunk(const Job& job, std::u16string_view chunk, bool first);
  Awaitable<bool> modifiersReleased();
  Awaitable<void> pause(Duration duration);

  AccessibilityProvider& provider_;
  TargetGuard& targetGuard_;
  InsertionPacing pacing_;
  TimeSource time_;
  std::set<std::string> accessibilityIneffective_;
  std::shared_ptr<const bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace quillet
