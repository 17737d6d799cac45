// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Target/TypedTrail.h"

#include <algorithm>

namespace quillet {
namespace {

/// So much of what was seen before must be seen again: enough to tell the place by.
constexpr std::size_t overlap = 32;

}  // namespace

TypedTrail::TypedTrail(std::u16string_view before, std::u16string_view text)
    : fromStart_(before.size() < overlap),
      stream_(before.substr(before.size() - std::min(before.size(), overlap))),
      seen_(stream_.size()) {
  stream_ += text;
}

bool TypedTrail::look(std::u16string_view shown) {
  const bool whole = fromStart_ && seen_ < overlap;
  const std::size_t start = seen_ - std::min(seen_, overlap);
  // The nearest place that fits: of a text that repeats itself too little is taken for seen, never too much.
  for (auto end = seen_; end <= stream_.size(); ++end) {
    const auto wanted = std::u16string_view(stream_).substr(start, end - start);
    if (whole ? shown != wanted : !shown.ends_with(wanted)) continue;
    seen_ = end;
    return true;
  }
  return false;
}

}  // namespace quillet
