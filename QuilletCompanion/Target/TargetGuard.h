// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "QuilletCompanion/Target/AccessibilityProvider.h"
#include "QuilletKit/Protocol/WireModels.h"

namespace quillet {

/// The test field inside this application.
class LocalTestTarget {
 public:
  virtual ~LocalTestTarget() = default;
  virtual bool isFocused() const = 0;
  /// False unless the field is focused and this application is active.
  virtual bool receive(std::string_view text) = 0;
};

struct LocalTestKind {};
/// A field in another application, or the local test field.
using TargetKind = std::variant<ElementRef, LocalTestKind>;

struct CapturedTarget {
  std::int32_t pid = 0;
  std::optional<std::string> bundleId;
  std::string appName;
  ElementRef window;
  TargetKind kind;
  std::optional<AXTextRange> selectedRange;
  std::string fieldLabel;  ///< "Search field", "Text area", "Text field" or "Test field".
};

/// A captured target with its one-use token. Times in milliseconds since 1970.
struct TargetSnapshot : CapturedTarget {
  std::string token;
  std::string peerId;
  std::uint64_t generation = 0;
  std::int64_t issuedAt = 0;
  std::int64_t expiresAt = 0;
};

struct FocusBaseline {
  std::int32_t pid = 0;
  ElementRef window, element;
  bool operator==(const FocusBaseline& other) const {
    return pid == other.pid && sameElement(window, other.window) && sameElement(element, other.element);
  }
};

struct TargetRefusal {
  RefusalReason reason;
  std::optional<std::string> appName;
};
using ProbeResult = std::variant<CapturedTarget, TargetRefusal>;
using PrepareDecision = std::variant<TargetSnapshot, TargetRefusal>;
using TokenLookup = std::variant<TargetSnapshot, RefusalReason>;

/// Decides whether text may go somewhere now, and whether that place is still the one a token was issued for. Never
/// writes text, never throws, never logs. Main thread only.
class TargetGuard {
 public:
  /// `now` in milliseconds since 1970. `localTest` may be empty or expire.
  TargetGuard(AccessibilityProvider& provider, std::weak_ptr<LocalTestTarget> localTest,
              std::function<std::int64_t()> now);

  /// Probes, and issues a token (22 characters, good for 600 seconds) for what it found.
  PrepareDecision prepare(const std::string& peerId);
  /// What could be written to now; calls a field that can't be edited `noField`.
  ProbeResult probe();
  /// Removes nothing. A token of another peer counts as unknown.
  TokenLookup lookup(const std::string& token, const std::string& peerId) const;
  void consume(const std::string& token);
  /// Absent when the snapshot's target is still the one in front.
  std::optional<RefusalReason> validate(const TargetSnapshot& snapshot, bool checkSelection);
  void dropTokens(const std::string& peerId);
  /// `element` is what a notification named, or null. One that is neither the focused element nor its window always
  /// counts as a change.
  void focusChanged(const ElementRef& element);
  /// Counts a change if the focus isn't where it was last seen.
  void resyncFocus();
  /// Absent when no front application is known.
  std::optional<FocusBaseline> currentFocus();
  /// Counts a change and forgets the focus: every outstanding snapshot fails validation from now on.
  void invalidateFocus();

  std::shared_ptr<LocalTestTarget> localTest() const { return localTest_.lock(); }
  /// Only grows; compare for equality.
  std::uint64_t focusGeneration() const { return focusGeneration_; }

 private:
  ProbeResult probeLocalTest(const FrontApplication& front);
  ProbeResult probeElement(const FrontApplication& front);
  bool localTestAccepts();
  void prune();
  /// Of tokens issued in the same millisecond, `newest` goes last.
  void trim(const std::string& newest);
  std::optional<RefusalReason> validateElement(const TargetSnapshot& snapshot, const ElementRef& element,
                                               bool checkSelection);
  std::optional<RefusalReason> validateLocalTest(const TargetSnapshot& snapshot);

  AccessibilityProvider& provider_;
  std::weak_ptr<LocalTestTarget> localTest_;
  std::function<std::int64_t()> now_;
  std::uint64_t focusGeneration_ = 0;
  std::map<std::string, TargetSnapshot> tokens_;
  std::optional<FocusBaseline> baseline_;
};

}  // namespace quillet
