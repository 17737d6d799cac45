// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Target/TextInserter.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <utility>
#include <vector>

#include "QuilletKit/Base/Log.h"
#include "QuilletKit/Base/Unicode.h"

namespace quillet {
namespace {

constexpr Duration kModifierPoll = std::chrono::milliseconds(20);
/// For a target that is behind, or doesn't answer, with nothing typed meanwhile.
constexpr Duration kPatience = std::chrono::seconds(9);
constexpr std::size_t kMaximumChunk = 20;  // What one key event carries.
constexpr std::size_t kChunksBetweenLooks = 8;

constexpr InsertionReport kUnconfirmedWrite{InsertionOutcome::uncertain, std::nullopt, InsertionMethod::accessibility};
constexpr InsertionReport kUnconfirmedTyping{InsertionOutcome::uncertain, std::nullopt, InsertionMethod::typing};

InsertionReport inserted(std::optional<InsertionMethod> method) {
  return {InsertionOutcome::inserted, std::nullopt, method};
}
InsertionReport refused(RefusalReason reason) {
  return {InsertionOutcome::refused, reason, std::nullopt};
}

/// Undoes what fields do to punctuation. Every scalar concerned is one UTF-16 unit.
std::u16string normalised(std::u16string_view text) {
  std::u16string result;
  result.reserve(text.size());
  for (const char16_t unit : text) {
    switch (unit) {
      case 0x2018:
      case 0x2019:
      case 0x201B:
        result += u'\'';
        break;
      case 0x201C:
      case 0x201D:
      case 0x201E:
        result += u'"';
        break;
      case 0x00A0:
      case 0x2007:
      case 0x202F:
        result += u' ';
        break;
      case 0x200B:
      case 0xFEFF:
        break;
      default:
        result += unit;
    }
  }
  return result;
}

std::size_t countMatches(const std::u16string& haystack, std::u16string_view needle) {
  std::size_t count = 0;
  for (auto at = haystack.find(needle); at != std::u16string::npos; at = haystack.find(needle, at + needle.size())) {
    ++count;
  }
  return count;
}

bool occursMoreOften(const std::u16string& text, const std::u16string& before, const std::u16string& after) {
  if (before == after) return false;
  const std::u16string plain = normalised(text);
  const std::u16string_view needle = Unicode::trim(std::u16string_view(plain));
  if (needle.empty()) return false;
  return countMatches(normalised(after), needle) > countMatches(normalised(before), needle);
}

bool replacedExactly(const std::u16string& before, AXTextRange selection, const std::u16string& after,
                     const std::u16string& text) {
  if (selection.location < 0 || selection.length < 0) return false;
  const auto location = static_cast<std::size_t>(selection.location);
  const auto length = static_cast<std::size_t>(selection.length);
  if (location > before.size() || length > before.size() - location) return false;
  return after.size() == before.size() - length + text.size() && after.compare(location, text.size(), text) == 0;
}

std::vector<std::u16string_view> chunksOf(std::u16string_view text, std::size_t limit) {
  std::vector<std::u16string_view> chunks;
  std::size_t start = 0;
  std::size_t end = 0;
  for (const auto cluster : Unicode::graphemeClusters(text)) {
    if (end > start && end - start + cluster.size() > limit) {
      chunks.push_back(text.substr(start, end - start));
      start = end;
    }
    end += cluster.size();
  }
  if (end > start) chunks.push_back(text.substr(start, end - start));
  return chunks;
}

}  // namespace

struct TextInserter::Job {
  const std::string& text;
  std::u16string units;  ///< `text` in UTF-16, as fields count.
  const TargetSnapshot& snapshot;
  const ElementRef& element;
  const std::string& app;
  FieldState before;
};

TextInserter::TextInserter(AccessibilityProvider& provider, TargetGuard& targetGuard, InsertionPacing pacing,
                           TimeSource time)
    : provider_(provider), targetGuard_(targetGuard), pacing_(pacing), time_(std::move(time)) {}

Awaitable<InsertionReport> TextInserter::insert(Turn, std::string text, TargetSnapshot snapshot) {
  if (text.empty()) co_return inserted(std::nullopt);
  const auto* element = std::get_if<ElementRef>(&snapshot.kind);
  if (element == nullptr) co_return giveToLocalTest(text);
  auto units = Unicode::toUTF16(text);
  if (!units) co_return refused(RefusalReason::unsupportedTarget);
  const Job job{.text = text,
                .units = std::move(*units),
                .snapshot = snapshot,
                .element = *element,
                .app = snapshot.bundleId ? *snapshot.bundleId : snapshot.appName,
                .before = look(*element)};
  co_return co_await insertIntoElement(job);
}

void TextInserter::abandon() {
  wanted_.reset();
  turns_.close();
}

InsertionReport TextInserter::giveToLocalTest(const std::string& text) {
  const auto field = targetGuard_.localTest();
  return field && field->receive(text) ? inserted(std::nullopt) : refused(RefusalReason::focusChanged);
}

Awaitable<InsertionReport> TextInserter::insertIntoElement(const Job& job) {
  if (!accessibilityIneffective_.contains(job.app)) {
    if (const auto report = co_await write(job)) co_return *report;
  }
  if (const auto reason = refusalBeforeTyping(job)) co_return refused(*reason);
  if (!co_await modifiersReleased()) co_return refused(RefusalReason::busy);
  co_return co_await type(job);
}

Awaitable<std::optional<InsertionReport>> TextInserter::write(const Job& job) {
  if (!provider_.replaceSelection(job.element, job.text)) {
    const auto verdict = compare(job.before, look(job.element), job.units);
    if (verdict == WriteVerdict::noEffect || !job.before.observable()) co_return std::nullopt;
    co_return kUnconfirmedWrite;
  }
  switch (co_await awaitVerdict(job, pacing_.accessibilitySettle)) {
    case WriteVerdict::applied:
      co_return inserted(InsertionMethod::accessibility);
    case WriteVerdict::noEffect:
      accessibilityIneffective_.insert(job.app);
      Log::info("insertion", "AX write had no effect in {}; typing from now on", job.app);
      co_return std::nullopt;
    case WriteVerdict::changedUnexpectedly:
    case WriteVerdict::unobservable:
      break;
  }
  co_return kUnconfirmedWrite;
}

std::optional<RefusalReason> TextInserter::refusalBeforeTyping(const Job& job) {
  if (const auto reason = targetGuard_.validate(job.snapshot, true)) return reason;
  // What can't be read can't be verified, and a line break would be a key press.
  if (!job.before.observable() || Unicode::containsControl(job.units)) return RefusalReason::unsupportedTarget;
  return std::nullopt;
}

Awaitable<bool> TextInserter::modifiersReleased() {
  const MonotonicTime deadline = time_.monotonic() + pacing_.modifierWait;
  while (provider_.modifiersDown()) {
    if (time_.monotonic() >= deadline) co_return false;
    co_await pause(kModifierPoll);
  }
  co_return true;
}

Awaitable<InsertionReport> TextInserter::type(const Job& job) {
  const auto chunks = chunksOf(job.units, static_cast<std::size_t>(std::max(pacing_.chunkUTF16Limit, 1)));
  TypedTrail trail(normalised(beforeCaret(job.before)), normalised(job.units));
  provider_.beginTyping();
  bool typed = false;
  for (std::size_t i = 0; i < chunks.size(); ++i) {
    const bool begun = typed;
    const auto reason = co_await typeChunk(job, chunks[i], typed);
    if (reason) co_return begun || typed ? kUnconfirmedTyping : refused(*reason);
    if (pacing_.interChunkDelay > Duration::zero()) co_await pause(pacing_.interChunkDelay);
    if ((i + 1) % kChunksBetweenLooks == 0) sawAll(job, look(job.element), trail);
  }
  const auto verdict = co_await awaitTyped(job, trail);
  co_return verdict == WriteVerdict::applied ? inserted(InsertionMethod::typing) : kUnconfirmedTyping;
}

Awaitable<std::optional<RefusalReason>> TextInserter::typeChunk(const Job& job, std::u16string_view chunk,
                                                                bool& typed) {
  MonotonicTime deadline = time_.monotonic() + kPatience;
  for (;;) {
    const auto reason = refusalOfChunk(job, chunk, !typed);
    if (reason && !(typed && isSilent(job, *reason))) co_return reason;
    const auto posted = reason ? TypedUnits{.later = true} : provider_.typeUnicode(job.element, chunk);
    chunk.remove_prefix(std::min(posted.count, chunk.size()));
    if (chunk.empty()) {
      typed = true;
      co_return std::nullopt;
    }
    if (posted) typed = true, deadline = time_.monotonic() + kPatience;
    if (!posted.later || time_.monotonic() >= deadline) co_return reason.value_or(RefusalReason::unsupportedTarget);
    co_await pause(pacing_.pollInterval);
  }
}

std::optional<RefusalReason> TextInserter::refusalOfChunk(const Job& job, std::u16string_view chunk, bool first) {
  if (const auto reason = targetGuard_.validate(job.snapshot, first)) return reason;
  if (provider_.modifiersDown()) return RefusalReason::busy;
  if (chunk.empty() || chunk.size() > kMaximumChunk) return RefusalReason::unsupportedTarget;
  return std::nullopt;
}

bool TextInserter::isSilent(const Job& job, RefusalReason reason) const {
  return reason == RefusalReason::focusChanged && targetGuard_.focusGeneration() == job.snapshot.generation;
}

TextInserter::WriteVerdict TextInserter::verdict(const Job& job, TypedTrail* trail) {
  const FieldState now = look(job.element);
  if (trail != nullptr && sawAll(job, now, *trail)) return WriteVerdict::applied;
  return compare(job.before, now, job.units);
}

// The end of the text must stand there still.
bool TextInserter::sawAll(const Job& job, const FieldState& now, TypedTrail& trail) {
  return showsPart(job, now) && trail.look(normalised(beforeCaret(now))) && trail.complete();
}

// A field that shows all it holds is judged by that alone.
bool TextInserter::showsPart(const Job& job, const FieldState& now) {
  if (!job.before.value || !now.value || !now.selection || now.selection->length != 0) return false;
  const auto replaced = job.before.selection ? static_cast<std::size_t>(job.before.selection->length) : 0;
  return now.value->size() + replaced < job.before.value->size() + job.units.size();
}

Awaitable<TextInserter::WriteVerdict> TextInserter::awaitVerdict(const Job& job, Duration settle, TypedTrail* trail) {
  const MonotonicTime deadline = time_.monotonic() + settle;
  for (;;) {
    const auto found = verdict(job, trail);
    if (found == WriteVerdict::applied || time_.monotonic() >= deadline) co_return found;
    co_await pause(pacing_.pollInterval);
  }
}

Awaitable<TextInserter::WriteVerdict> TextInserter::awaitTyped(const Job& job, TypedTrail& trail) {
  const MonotonicTime latest = time_.monotonic() + kPatience;
  for (FieldState last = look(job.element);;) {
    const auto verdict = co_await awaitVerdict(job, pacing_.typingSettle, &trail);
    FieldState now = look(job.element);
    if (verdict == WriteVerdict::applied || now == last || time_.monotonic() >= latest) co_return verdict;
    last = std::move(now);
  }
}

Awaitable<void> TextInserter::pause(Duration duration) {
  const Task::Token wanted = wanted_ ? wanted_->token() : Task::Token();
  if (duration > Duration::zero()) {
    co_await time_.sleep(duration);
  } else {
    co_await boost::asio::post(co_await boost::asio::this_coro::executor, boost::asio::use_awaitable);
  }
  if (wanted.cancelled()) throw boost::system::system_error(boost::asio::error::operation_aborted);
}

TextInserter::FieldState TextInserter::look(const ElementRef& element) {
  FieldState state;
  if (!element) return state;
  const auto reading = provider_.readField(element);
  if (reading.value) state.value = Unicode::toUTF16(*reading.value);
  state.selection = reading.selection;
  return state;
}

std::u16string_view TextInserter::beforeCaret(const FieldState& state) {
  if (!state.value || !state.selection) return {};
  return std::u16string_view(*state.value)
      .substr(0, static_cast<std::size_t>(std::max<std::int64_t>(state.selection->location, 0)));
}

TextInserter::WriteVerdict TextInserter::compare(const FieldState& before, const FieldState& after,
                                                 const std::u16string& text) {
  if (before.value && after.value) return compareValues(before, after, text);
  if (!before.selection || !after.selection) return WriteVerdict::unobservable;
  const AXTextRange moved{before.selection->location + static_cast<std::int64_t>(text.size()), 0};
  if (*after.selection == moved) return WriteVerdict::applied;
  return before.selection == after.selection ? WriteVerdict::noEffect : WriteVerdict::changedUnexpectedly;
}

TextInserter::WriteVerdict TextInserter::compareValues(const FieldState& before, const FieldState& after,
                                                       const std::u16string& text) {
  if (before.selection && replacedExactly(*before.value, *before.selection, *after.value, text)) {
    return WriteVerdict::applied;
  }
  if (occursMoreOften(text, *before.value, *after.value)) return WriteVerdict::applied;
  if (*before.value != *after.value) return WriteVerdict::changedUnexpectedly;
  if (!before.selection || !after.selection) return WriteVerdict::noEffect;
  return before.selection == after.selection ? WriteVerdict::noEffect : WriteVerdict::changedUnexpectedly;
}

}  // namespace quillet
