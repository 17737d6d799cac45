// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/ArrivalCheck.h"

#include <algorithm>
#include <chrono>

namespace quillet {
namespace {

using namespace std::chrono_literals;

/// No target takes longer that is to be typed into again.
constexpr Duration forgottenAfter = 1500ms;
/// Where nothing can be read: what most targets need for a chunk.
constexpr Duration blindWait = 60ms;
constexpr Duration otherElementWait = 100ms;
/// A count that has stopped at the number of code points, in a target that might count UTF-16 units.
constexpr Duration standstill = 60ms;

constexpr ArrivalCheck::Answer all{true, true};

std::int64_t utf16Length(std::u32string_view characters) {
  const auto astral = std::count_if(characters.begin(), characters.end(), [](char32_t c) { return c > 0xffff; });
  return static_cast<std::int64_t>(characters.size()) + astral;
}

}  // namespace

ArrivalCheck::Answer ArrivalCheck::look(const std::optional<KeyTypist::Observation>& seen, MonotonicTime time) {
  const Duration age = time - posted_.at;
  if (age >= forgottenAfter) return all;
  if (!posted_.before || !seen) return age >= blindWait ? all : Answer{};
  if (seen->element != posted_.before->element) return age >= otherElementWait ? all : Answer{};
  const auto grown = growth(*seen);
  if (!grown) return {};
  // Somebody has taken text away since: there is nothing left to count.
  if (*grown < 0) return all;
  if (*grown != lastGrowth_) unchangedSince_ = time;
  lastGrowth_ = *grown;
  return {reached(posted_.characters.size(), *grown, seen->unit, time),
          reached(posted_.throughBorrowed, *grown, seen->unit, time)};
}

/// By how much the text is longer than it was without its selection; absent while the selection stands.
std::optional<std::int64_t> ArrivalCheck::growth(const KeyTypist::Observation& seen) const {
  const auto& before = *posted_.before;
  if (before.selected > 0 && seen.selected > 0) return std::nullopt;
  const std::int64_t counted = seen.characters - (before.characters - before.selected);
  if (before.selected > 0 || !before.caret || !seen.caret) return counted;
  return std::max(counted, *seen.caret - *before.caret);
}

bool ArrivalCheck::reached(std::size_t characters, std::int64_t growth, KeyTypist::CountUnit unit,
                           MonotonicTime time) const {
  const auto prefix = std::u32string_view(posted_.characters).substr(0, characters);
  const auto points = static_cast<std::int64_t>(prefix.size());
  if (unit == KeyTypist::CountUnit::codePoints) return growth >= points;
  if (growth >= utf16Length(prefix)) return true;
  return unit == KeyTypist::CountUnit::unknown && growth >= points && time - unchangedSince_ >= standstill;
}

}  // namespace quillet
