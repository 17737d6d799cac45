// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "QuilletCompanion/Target/TargetGuard.h"
#include "QuilletCompanion/Target/TypedTrail.h"
#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Async/TurnQueue.h"

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
/// Return. Deliveries and dictations take turns, so that their chunks never mix. Main thread only.
class TextInserter {
 public:
  using Turn = TurnQueue::Turn;

  TextInserter(AccessibilityProvider& provider, TargetGuard& targetGuard, InsertionPacing pacing, TimeSource time);

  /// Waits until nobody else inserts. A target is to be looked for, or validated, after that: what was inserted before
  /// has moved the caret. One who is cancelled meanwhile leaves the queue.
  Awaitable<Turn> turn() { return turns_.next(); }
  /// The caller has validated `snapshot` in its turn, which ends with the insertion. `text` is UTF-8. Never fails. A
  /// cancellation ends it before its next chunk, as cancelled operations end; what is in the field by then stays.
  Awaitable<InsertionReport> insert(Turn turn, std::string text, TargetSnapshot snapshot);
  /// Ends what runs and what waits as a cancellation does, and everything that will be asked.
  void abandon();

 private:
  /// A field at one moment.
  struct FieldState {
    std::optional<std::u16string> value;
    std::optional<AXTextRange> selection;
    bool observable() const { return value || selection; }
    bool operator==(const FieldState&) const = default;
  };
  enum class WriteVerdict { applied, noEffect, changedUnexpectedly, unobservable };
  struct Job;

  static WriteVerdict compare(const FieldState& before, const FieldState& after, const std::u16string& text);
  static WriteVerdict compareValues(const FieldState& before, const FieldState& after, const std::u16string& text);
  static std::u16string_view beforeCaret(const FieldState& state);
  FieldState look(const ElementRef& element);
  InsertionReport giveToLocalTest(const std::string& text);
  Awaitable<InsertionReport> insertIntoElement(const Job& job);
  /// Absent when nothing was written and typing may be tried.
  Awaitable<std::optional<InsertionReport>> write(const Job& job);
  /// `trail`, if given, goes on, for a field that no longer shows all that was typed.
  WriteVerdict verdict(const Job& job, TypedTrail* trail);
  /// Goes on with the trail; true once the looks at a field that shows a part add up to all of the text.
  static bool sawAll(const Job& job, const FieldState& now, TypedTrail& trail);
  static bool showsPart(const Job& job, const FieldState& now);
  Awaitable<WriteVerdict> awaitVerdict(const Job& job, Duration settle, TypedTrail* trail = nullptr);
  /// As long as the field goes on changing.
  Awaitable<WriteVerdict> awaitTyped(const Job& job, TypedTrail& trail);
  Awaitable<InsertionReport> type(const Job& job);
  std::optional<RefusalReason> refusalBeforeTyping(const Job& job);
  /// Posts one chunk, and waits for a target that is behind. Gives why it may not go, or absent. `typed` becomes true
  /// once anything went.
  Awaitable<std::optional<RefusalReason>> typeChunk(const Job& job, std::u16string_view chunk, bool& typed);
  std::optional<RefusalReason> refusalOfChunk(const Job& job, std::u16string_view chunk, bool first);
  /// The field doesn't answer, while nobody has seen the focus move.
  bool isSilent(const Job& job, RefusalReason reason) const;
  Awaitable<bool> modifiersReleased();
  Awaitable<void> pause(Duration duration);

  AccessibilityProvider& provider_;
  TargetGuard& targetGuard_;
  InsertionPacing pacing_;
  TimeSource time_;
  std::set<std::string> accessibilityIneffective_;
  TurnQueue turns_{1};
  std::optional<Lifetime> wanted_{std::in_place};  ///< Until insertions are abandoned.
};

}  // namespace quillet
