// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "QuilletCompanion/Platform/Linux/KeyTypist.h"

namespace quillet {

/// Tells from looks at the target whether a chunk of typed characters has arrived there.
class ArrivalCheck {
 public:
  struct Posted {
    std::u32string characters;
    /// The first so many characters include all that were typed on borrowed keycodes.
    std::size_t throughBorrowed = 0;
    std::optional<KeyTypist::Observation> before;
    MonotonicTime at;
  };
  struct Answer {
    bool complete = false;     ///< All has arrived, or there is no way to see more.
    bool mayReassign = false;  ///< What was typed on borrowed keycodes has arrived.
    bool operator==(const Answer&) const = default;
  };

  explicit ArrivalCheck(Posted posted) : posted_(std::move(posted)) {}

  /// Looks must be passed in the order of time.
  Answer look(const std::optional<KeyTypist::Observation>& seen, MonotonicTime time);
  const Posted& posted() const { return posted_; }

 private:
  std::optional<std::int64_t> growth(const KeyTypist::Observation& seen) const;
  bool reached(std::size_t characters, std::int64_t growth, KeyTypist::CountUnit unit, MonotonicTime time) const;

  Posted posted_;
  std::int64_t lastGrowth_ = -1;
  MonotonicTime unchangedSince_;
};

}  // namespace quillet
