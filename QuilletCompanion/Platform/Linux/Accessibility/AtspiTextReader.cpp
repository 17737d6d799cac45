// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiTextReader.h"

#include <algorithm>

#include "QuilletCompanion/Platform/Linux/Accessibility/TextUnits.h"
#include "QuilletKit/Base/Unicode.h"

namespace quillet {
namespace {

constexpr int deepest = 8;
/// Of what stands before the caret, where the text may be only a part of all: more than is usually under way.
constexpr int tailLength = 48;

std::int64_t children(std::string_view text) {
  std::int64_t found = 0;
  for (auto at = text.find(TextUnits::embeddedObject); at != text.npos;
       at = text.find(TextUnits::embeddedObject, at + TextUnits::embeddedObject.size())) {
    ++found;
  }
  return found;
}

/// GTK's own texts count code points; who only borrows its name, as office programs do, has paragraphs.
KeyTypist::CountUnit unitOfGTK(AtspiRole role) {
  switch (role) {
    case ATSPI_ROLE_TEXT:
    case ATSPI_ROLE_ENTRY:
    case ATSPI_ROLE_TERMINAL:
      return KeyTypist::CountUnit::codePoints;
    case ATSPI_ROLE_PARAGRAPH:
      return KeyTypist::CountUnit::utf16;
    default:
      return KeyTypist::CountUnit::unknown;
  }
}

KeyTypist::CountUnit unitOf(AtspiToolkit toolkit, AtspiRole role) {
  switch (toolkit) {
    case AtspiToolkit::gtk:
      return unitOfGTK(role);
    case AtspiToolkit::qt:
    case AtspiToolkit::gecko:
      return KeyTypist::CountUnit::utf16;
    case AtspiToolkit::chromium:
      return KeyTypist::CountUnit::codePoints;
    default:
      return KeyTypist::CountUnit::unknown;
  }
}

}  // namespace

AtspiTextReader::AtspiTextReader(AtspiElementRef element, CallBudget& budget)
    : element_(std::move(element)), budget_(budget), toolkit_(toolkitOf(*element_, budget)) {}

std::optional<std::string> AtspiTextReader::value() {
  if (!budget_.mayCall(element_->pid())) return std::nullopt;
  AtspiBatch batch(element_->accessible(), budget_.callLimit());
  const auto question = askValue(batch);
  batch.wait();
  return valueFrom(batch, question);
}

FieldReading AtspiTextReader::field() {
  if (!budget_.mayCall(element_->pid())) return {};
  AtspiBatch batch(element_->accessible(), budget_.callLimit());
  const auto value = askValue(batch);
  const auto caret = askCaret(batch);
  batch.wait();
  FieldReading reading{.value = valueFrom(batch, value)};
  reading.selection = isWeb(toolkit_) ? selection() : selectionFrom(batch, caret, reading.value);
  return reading;
}

TargetReading AtspiTextReader::target() {
  if (isWeb(toolkit_)) {
    TargetReading reading{.traits = traitsOf(*element_, budget_)};
    if (reading.traits.editable && !reading.traits.isSecure) reading.selection = selection();
    return reading;
  }
  if (!budget_.mayCall(element_->pid())) return {};
  AtspiBatch batch(element_->accessible(), budget_.callLimit());
  const auto caret = askCaret(batch);
  TargetReading reading{.traits = traitsOf(*element_, budget_)};
  if (!reading.traits.editable || reading.traits.isSecure) return reading;
  batch.wait();
  reading.selection = selectionFrom(batch, caret, std::nullopt);
  return reading;
}

AtspiTextReader::ValueQuestion AtspiTextReader::askValue(AtspiBatch& batch) {
  return {.role = batch.call("Accessible", "GetRole"), .count = batch.property("Text", "CharacterCount")};
}

std::optional<std::string> AtspiTextReader::valueFrom(const AtspiBatch& batch, const ValueQuestion& question) {
  const auto role = batch.number(question.role), characters = batch.number(question.count);
  element_->role() = static_cast<AtspiRole>(role.value_or(ATSPI_ROLE_INVALID));
  if (!role || element_->role() == ATSPI_ROLE_PASSWORD_TEXT || !characters || *characters < 0) return std::nullopt;
  auto raw = slice(*element_, 0, *characters);
  return raw && isWeb(toolkit_) ? flattened(*element_, *raw, 0) : raw;
}

AtspiTextReader::CaretQuestion AtspiTextReader::askCaret(AtspiBatch& batch) {
  return {.caret = batch.property("Text", "CaretOffset"), .selections = batch.call("Text", "GetNSelections")};
}

std::optional<AXTextRange> AtspiTextReader::selectionFrom(const AtspiBatch& batch, const CaretQuestion& question,
                                                          const std::optional<std::string>& value) {
  const auto caret = batch.number(question.caret);
  if (!caret || *caret < 0) return std::nullopt;
  const bool selected = batch.number(question.selections).value_or(0) > 0;
  const auto found = selected ? firstSelection(*element_, *caret) : Range{*caret, *caret};
  if (!found) return std::nullopt;
  const auto location = utf16Units({0, found->start}, value);
  const auto length = utf16Units(*found, value);
  if (!location || !length) return std::nullopt;
  return AXTextRange{.location = *location, .length = *length};
}

std::optional<std::int64_t> AtspiTextReader::utf16Units(Range range, const std::optional<std::string>& value) {
  // Where every character is one unit, it doesn't matter what the toolkit counts.
  const bool plain = value && TextUnits::codePoints(*value) == TextUnits::utf16Length(*value) &&
                     range.end <= TextUnits::codePoints(*value);
  if (toolkit_ == AtspiToolkit::qt || plain) return range.end - range.start;
  const auto text = slice(*element_, range.start, range.end);
  return text ? std::optional(TextUnits::utf16Length(*text)) : std::nullopt;
}

std::optional<AXTextRange> AtspiTextReader::selection() {
  if (!isWeb(toolkit_)) {
    if (!budget_.mayCall(element_->pid())) return std::nullopt;
    AtspiBatch batch(element_->accessible(), budget_.callLimit());
    const auto question = askCaret(batch);
    batch.wait();
    return selectionFrom(batch, question, std::nullopt);
  }
  const auto leaf = leafAtCaret(true);
  if (!leaf) return std::nullopt;
  const auto found = range(*leaf->element, leaf->caret);
  if (!found) return std::nullopt;
  const auto before = slice(*leaf->element, 0, found->start);
  const auto selected = slice(*leaf->element, found->start, found->end);
  if (!before || !selected) return std::nullopt;
  return AXTextRange{.location = leaf->before + TextUnits::utf16Length(*before),
                     .length = TextUnits::utf16Length(*selected)};
}

std::optional<KeyTypist::Observation> AtspiTextReader::observation() {
  const auto leaf = leafAtCaret(false);
  if (!leaf) return observationWithoutCaret();
  const auto characters = count(*leaf->element);
  const auto selected = range(*leaf->element, leaf->caret);
  if (!characters) return std::nullopt;
  const auto role = leaf->element->role();
  KeyTypist::Observation seen{.characters = *characters,
                              .caret = leaf->caret,
                              .selected = selected ? selected->end - selected->start : 0,
                              .element = reinterpret_cast<std::uintptr_t>(leaf->element->accessible()),
                              .unit = unitOf(toolkit_, role)};
  if (role == ATSPI_ROLE_TERMINAL || isWeb(toolkit_)) seen.tail = tail(*leaf->element, leaf->caret);
  // A page that is just filling its field anew.
  const bool passing = leaf->caret > *characters || (leaf->caret > 0 && (!seen.tail || seen.tail->empty()));
  return isWeb(toolkit_) && passing ? std::nullopt : std::optional(seen);
}

std::optional<std::u32string> AtspiTextReader::tail(const AtspiElement& element, int end) {
  const auto text = slice(element, std::max(0, end - tailLength), end);
  const auto units = text ? Unicode::toUTF16(*text) : std::nullopt;
  return units ? Unicode::toUTF32(*units) : std::nullopt;
}

std::optional<KeyTypist::Observation> AtspiTextReader::observationWithoutCaret() {
  if (!isWeb(toolkit_) || element_->role() != ATSPI_ROLE_ENTRY) return std::nullopt;
  const auto characters = count(*element_);
  if (characters.value_or(0) == 0) return std::nullopt;
  return KeyTypist::Observation{.characters = *characters,
                                .element = reinterpret_cast<std::uintptr_t>(element_->accessible()),
                                .unit = unitOf(toolkit_, ATSPI_ROLE_ENTRY),
                                .tail = tail(*element_, *characters)};
}

std::optional<int> AtspiTextReader::count(const AtspiElement& element) {
  if (!budget_.mayCall(element.pid())) return std::nullopt;
  GErrorSlot error;
  const int found = atspi_text_get_character_count(element.text(), error);
  return error.failed() || found < 0 ? std::nullopt : std::optional(found);
}

std::optional<int> AtspiTextReader::caret(const AtspiElement& element) {
  if (!budget_.mayCall(element.pid())) return std::nullopt;
  GErrorSlot error;
  const int found = atspi_text_get_caret_offset(element.text(), error);
  return error.failed() || found < 0 ? std::nullopt : std::optional(found);
}

std::optional<AtspiTextReader::Range> AtspiTextReader::range(const AtspiElement& element, int caretOffset) {
  if (!budget_.mayCall(element.pid())) return std::nullopt;
  GErrorSlot countError;
  // Asked for a selection that doesn't exist, some toolkits fail in ways of their own.
  if (atspi_text_get_n_selections(element.text(), countError) <= 0) return Range{caretOffset, caretOffset};
  return firstSelection(element, caretOffset);
}

std::optional<AtspiTextReader::Range> AtspiTextReader::firstSelection(const AtspiElement& element, int caretOffset) {
  if (!budget_.mayCall(element.pid())) return std::nullopt;
  GErrorSlot error;
  const std::unique_ptr<AtspiRange, decltype(&g_free)> found(atspi_text_get_selection(element.text(), 0, error),
                                                             &g_free);
  if (error.failed() || !found) return std::nullopt;
  const Range sorted{std::min(found->start_offset, found->end_offset),
                     std::max(found->start_offset, found->end_offset)};
  if (sorted.start < 0) return std::nullopt;
  // Chromium miscounts selections in texts with emoji; the caret, which it gets right, is then at neither end.
  const bool plausible = caretOffset == sorted.start || caretOffset == sorted.end;
  return toolkit_ == AtspiToolkit::chromium && !plausible ? std::nullopt : std::optional(sorted);
}

std::optional<std::string> AtspiTextReader::slice(const AtspiElement& element, int start, int end) {
  if (start >= end) return std::string();
  if (!budget_.mayCall(element.pid())) return std::nullopt;
  GErrorSlot error;
  auto text = takeText(atspi_text_get_text(element.text(), start, end, error));
  if (error.failed() || !text) return std::nullopt;
  return clean(std::move(*text));
}

std::string AtspiTextReader::clean(std::string text) const {
  return isWeb(toolkit_) ? TextUnits::withoutFillers(text) : std::move(text);
}

std::optional<AtspiTextReader::Leaf> AtspiTextReader::leafAtCaret(bool measure) {
  const auto top = caret(*element_);
  if (!top) return std::nullopt;
  Leaf leaf{.element = element_, .caret = *top};
  for (int depth = 0; isWeb(toolkit_) && depth < deepest; ++depth) {
    const auto before = textBeforeChildAtCaret(leaf);
    if (!before) return leaf;
    const auto next = child(*leaf.element, children(*before));
    const auto inner = next ? caret(*next) : std::nullopt;
    if (!inner) return leaf;
    if (measure) {
      const auto flat = flattened(*leaf.element, *before, depth);
      if (!flat) return std::nullopt;
      leaf.before += TextUnits::utf16Length(*flat) + (!flat->empty() && isBlock(*next) ? 1 : 0);
    }
    leaf.element = next;
    leaf.caret = *inner;
  }
  return leaf;
}

std::optional<std::string> AtspiTextReader::textBeforeChildAtCaret(const Leaf& leaf) {
  const auto characters = count(*leaf.element);
  if (!characters || *characters == 0) return std::nullopt;
  const int at = std::min(leaf.caret, *characters - 1);
  // First the one character: most texts have no children, and may be long.
  if (slice(*leaf.element, at, at + 1) != TextUnits::embeddedObject) return std::nullopt;
  return slice(*leaf.element, 0, at);
}

AtspiElementRef AtspiTextReader::child(const AtspiElement& element, std::int64_t index) {
  if (!budget_.mayCall(element.pid())) return nullptr;
  GErrorSlot linkError;
  const GRef<AtspiHyperlink> link(
      atspi_hypertext_get_link(ATSPI_HYPERTEXT(element.accessible()), static_cast<int>(index), linkError));
  if (!link || !budget_.mayCall(element.pid())) return nullptr;
  GErrorSlot error;
  GRef<AtspiAccessible> object(atspi_hyperlink_get_object(link.get(), 0, error));
  return object ? std::make_shared<AtspiElement>(std::move(object), element.pid()) : nullptr;
}

std::optional<std::string> AtspiTextReader::whole(const AtspiElement& element, int depth) {
  const auto characters = count(element);
  if (!characters) return std::nullopt;
  auto raw = slice(element, 0, *characters);
  return raw && isWeb(toolkit_) ? flattened(element, *raw, depth) : raw;
}

std::optional<std::string> AtspiTextReader::flattened(const AtspiElement& element, std::string_view raw, int depth) {
  std::string flat;
  for (std::int64_t index = 0; depth < deepest; ++index) {
    const auto at = raw.find(TextUnits::embeddedObject);
    if (at == raw.npos) break;
    flat += raw.substr(0, at);
    raw.remove_prefix(at + TextUnits::embeddedObject.size());
    const auto next = child(element, index);
    const auto inner = next ? whole(*next, depth + 1) : std::nullopt;
    if (!inner) return std::nullopt;
    if (!flat.empty() && isBlock(*next)) flat += '\n';
    flat += *inner;
  }
  return flat += raw;
}

bool AtspiTextReader::isBlock(const AtspiElement& element) {
  if (!budget_.mayCall(element.pid())) return false;
  GErrorSlot error;
  switch (atspi_accessible_get_role(element.accessible(), error)) {
    case ATSPI_ROLE_PARAGRAPH:
    case ATSPI_ROLE_SECTION:
    case ATSPI_ROLE_HEADING:
    case ATSPI_ROLE_LIST:
    case ATSPI_ROLE_LIST_ITEM:
    case ATSPI_ROLE_BLOCK_QUOTE:
      return true;
    default:
      return false;
  }
}

}  // namespace quillet
