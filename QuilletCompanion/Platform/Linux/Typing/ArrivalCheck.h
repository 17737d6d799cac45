// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "QuilletCompanion/Platform/Linux/Typing/TypingObservation.h"
#include "QuilletKit/Async/Clock.h"

namespace quillet {

/// Tells from looks at the target how many of the typed characters have arrived there.
class ArrivalCheck {
 public:
  using Look = std::optional<TypingObservation>;

  /// Counts since the beginning: characters that were posted, and those that arrived or will never be seen to arrive.
  std::uint64_t posted() const { return settled_ + underWay_.size(); }
  std::uint64_t arrived() const { return settled_ + seenOfUnderWay_; }
  std::uint64_t underWay() const { return posted() - arrived(); }
  /// The next characters belong to another text, which the loss of an earlier one doesn't stop.
  void beginText();
  /// Whether the target took nothing of the last characters for so long that it has lost them; told once.
  bool takeLost() { return std::exchange(lost_, false); }
  bool lost() const { return lost_; }
  /// At the last look the target could not be read, or keys no longer went there.
  bool unreadable() const { return unreadable_; }
  bool elsewhere() const { return elsewhere_; }

  /// Tells how the target looks before characters are posted. Needed where nothing is under way and the last look may
  /// be outdated. False if that can't be told: then nothing must be posted, since it would never be seen to arrive.
  bool before(const Look& seen);
  void add(std::u32string_view characters, MonotonicTime time);
  /// In the order of time.
  void look(const Look& seen, MonotonicTime time);

 private:
  bool note(const Look& seen);
  void giveUpLate(MonotonicTime time);
  void settle();
  std::optional<std::int64_t> growth(const TypingObservation& seen) const;
  /// The fewest characters under way that explain the text before the caret; absent if none do.
  std::optional<std::uint64_t> shown(const TypingObservation& seen) const;
  void count(std::int64_t growth, const TypingObservation& seen, MonotonicTime time);
  TypingObservation::CountUnit unitOf(const TypingObservation& seen) const;

  std::uint64_t settled_ = 0;
  std::uint64_t textStart_ = 0;  ///< What was posted before the present text.
  std::u32string underWay_;      ///< Posted since `before_`.
  std::uint64_t seenOfUnderWay_ = 0;
  Look before_;
  MonotonicTime lastPost_;
  std::int64_t lastGrowth_ = 0;
  MonotonicTime unchangedSince_;  ///< When that growth was first seen.
  bool unreadable_ = false;
  bool elsewhere_ = false;
  bool lost_ = false;
  /// The one element whose unit we found out.
  std::uintptr_t knownElement_ = 0;
  TypingObservation::CountUnit knownUnit_ = TypingObservation::CountUnit::unknown;
};

}  // namespace quillet
