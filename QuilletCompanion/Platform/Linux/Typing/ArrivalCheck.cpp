// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Typing/ArrivalCheck.h"

#include <algorithm>
#include <chrono>

namespace quillet {
namespace {

using namespace std::chrono_literals;
using Unit = TypingObservation::CountUnit;

/// Of blanks at the end of a line, which not all count.
constexpr Duration uncountedAfter = 1500ms;
/// A target that has changed and then doesn't for so long has made something else of the rest.
constexpr Duration forgottenAfter = 3s;
/// One that hasn't changed at all may only be busy, but not for ever.
constexpr Duration lostAfter = 8s;
constexpr Duration otherElementWait = 100ms;
/// A count that has stopped at the number of code points, in a target that might count UTF-16 units.
constexpr Duration standstill = 60ms;
/// How long a page may show something else in between, while it fills its field anew.
constexpr Duration passing = 300ms;

std::int64_t lengthIn(Unit unit, char32_t character) {
  return unit != Unit::codePoints && character > 0xffff ? 2 : 1;
}

std::int64_t lengthIn(Unit unit, std::u32string_view characters) {
  std::int64_t length = 0;
  for (const char32_t character : characters) length += lengthIn(unit, character);
  return length;
}

/// How many whole characters fill `length`.
std::uint64_t charactersIn(Unit unit, std::u32string_view characters, std::int64_t length) {
  std::uint64_t count = 0;
  for (; count < characters.size(); ++count) {
    length -= lengthIn(unit, characters[count]);
    if (length < 0) break;
  }
  return count;
}

/// As it was typed: pages and terminals change blanks, quotation marks and the ends of lines by themselves.
std::u32string plain(std::u32string text) {
  std::erase(text, U'\n');
  for (char32_t& character : text) {
    if (character == U'\u00A0') character = U' ';
    if (character == U'\u2018' || character == U'\u2019') character = U'\'';
    if (character == U'\u201C' || character == U'\u201D') character = U'"';
  }
  return text;
}

}  // namespace

bool ArrivalCheck::before(const Look& seen) {
  const bool usable = note(seen);
  if (usable && underWay_.empty()) before_ = seen;
  return usable;
}

bool ArrivalCheck::note(const Look& seen) {
  elsewhere_ = seen && seen->elsewhere;
  unreadable_ = !seen || elsewhere_;
  return !unreadable_;
}

void ArrivalCheck::add(std::u32string_view characters, MonotonicTime time) {
  underWay_ += characters;
  lastPost_ = time;
}

void ArrivalCheck::look(const Look& seen, MonotonicTime time) {
  if (!note(seen) || underWay_.empty()) return;
  if (seen->element != before_->element) {
    if (time - lastPost_ >= otherElementWait) settle();
  } else {
    if (const auto grown = growth(*seen)) count(*grown, *seen, time);
    if (!underWay_.empty()) giveUpLate(time);
  }
  if (underWay_.empty()) before_ = seen;
}

void ArrivalCheck::giveUpLate(MonotonicTime time) {
  const bool blank = underWay_.find_first_not_of(U' ', static_cast<std::size_t>(seenOfUnderWay_)) == underWay_.npos;
  const bool silent = unchangedSince_ <= lastPost_ && !blank;
  const auto patience = blank ? uncountedAfter : silent ? lostAfter : forgottenAfter;
  if (time - std::max(lastPost_, unchangedSince_) < patience) return;
  lost_ = silent && posted() > textStart_;
  settle();
}

void ArrivalCheck::beginText() {
  textStart_ = posted();
  lost_ = false;
}

/// By how much the text is longer than it was without its selection; absent while the selection stands.
std::optional<std::int64_t> ArrivalCheck::growth(const TypingObservation& seen) const {
  if (before_->selected > 0 && seen.selected > 0) return std::nullopt;
  const std::int64_t counted = seen.characters - (before_->characters - before_->selected);
  if (before_->selected > 0 || !before_->caret || !seen.caret) return counted;
  return std::max(counted, *seen.caret - *before_->caret);
}

std::optional<std::uint64_t> ArrivalCheck::shown(const TypingObservation& seen) const {
  if (!before_->tail || !seen.tail || seen.tail->empty()) return std::nullopt;
  const std::u32string tail = plain(*seen.tail);
  const std::u32string expected = plain(*before_->tail + underWay_);
  const auto start = expected.size() - underWay_.size();
  for (auto arrived = seenOfUnderWay_; arrived <= underWay_.size(); ++arrived) {
    const auto end = start + static_cast<std::size_t>(arrived);
    if (std::u32string_view(expected).substr(0, end).ends_with(tail)) return arrived;
  }
  return std::nullopt;
}

void ArrivalCheck::count(std::int64_t growth, const TypingObservation& seen, MonotonicTime time) {
  const auto byTail = shown(seen);
  if (growth != lastGrowth_ || byTail.value_or(0) > seenOfUnderWay_) unchangedSince_ = time;
  lastGrowth_ = growth;
  seenOfUnderWay_ = std::max(seenOfUnderWay_, byTail.value_or(0));
  const bool contradicted = !byTail && before_->tail && seen.tail;
  if (contradicted && time - std::max(unchangedSince_, lastPost_) < passing) return;
  // Somebody has taken text away since: there is nothing left to count.
  if (growth < 0 && !byTail) return settle();
  const std::int64_t points = lengthIn(Unit::codePoints, underWay_);
  const bool astral = lengthIn(Unit::utf16, underWay_) > points;
  if (seen.unit == Unit::unknown && astral && growth > points) {
    knownElement_ = seen.element;
    knownUnit_ = Unit::utf16;
  } else if (unitOf(seen) == Unit::unknown && astral && growth == points && time - unchangedSince_ >= standstill) {
    knownElement_ = seen.element;
    knownUnit_ = Unit::codePoints;
  }
  seenOfUnderWay_ = std::max(seenOfUnderWay_, charactersIn(unitOf(seen), underWay_, growth));
  if (seenOfUnderWay_ == underWay_.size()) settle();
}

TypingObservation::CountUnit ArrivalCheck::unitOf(const TypingObservation& seen) const {
  return seen.unit == Unit::unknown && seen.element != 0 && seen.element == knownElement_ ? knownUnit_ : seen.unit;
}

void ArrivalCheck::settle() {
  settled_ += underWay_.size();
  underWay_.clear();
  seenOfUnderWay_ = 0;
  lastGrowth_ = 0;
}

}  // namespace quillet
