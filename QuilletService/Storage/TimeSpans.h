// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillet {

/// A few spans of time, in milliseconds since 1970, both ends included.
class TimeSpans {
 public:
  struct Span {
    std::int64_t first = 0, last = 0;
    bool operator==(const Span&) const = default;
  };

  /// What lies no further apart than `gap` is taken for one span.
  explicit TimeSpans(std::int64_t gap) : gap_(gap) {}

  void add(Span added) {
    const auto joins = [&](const Span& span) {
      return added.first <= span.last + gap_ && span.first <= added.last + gap_;
    };
    for (auto near = std::find_if(spans_.begin(), spans_.end(), joins); near != spans_.end();
         near = std::find_if(spans_.begin(), spans_.end(), joins)) {
      added = {std::min(added.first, near->first), std::max(added.last, near->last)};
      spans_.erase(near);
    }
    const auto later = [](const Span& a, const Span& b) { return a.first < b.first; };
    spans_.insert(std::upper_bound(spans_.begin(), spans_.end(), added, later), added);
    if (spans_.size() <= kMost) return;
    spans_[1].first = spans_[0].first;  // the oldest two become one: rather too much than too little
    spans_.erase(spans_.begin());
  }
  bool covers(std::int64_t time) const {
    return std::any_of(spans_.begin(), spans_.end(),
                       [&](const Span& span) { return span.first <= time && time <= span.last; });
  }
  const std::vector<Span>& all() const { return spans_; }

 private:
  static constexpr std::size_t kMost = 16;
  std::int64_t gap_;
  std::vector<Span> spans_;  ///< In order, apart.
};

}  // namespace quillet
