// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiTextWriter.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiBatch.h"
#include "QuilletCompanion/Platform/Linux/Accessibility/TextUnits.h"

namespace quillet {
namespace {

constexpr std::size_t longestText = 1 << 20;

class Writer {
 public:
  Writer(const AtspiElement& element, AtspiToolkit toolkit, CallBudget& budget)
      : element_(element), toolkit_(toolkit), budget_(budget) {}

  Replacement replace(const std::string& text) {
    if (!mayCall()) return Replacement::failed;
    AtspiBatch batch(element_.accessible(), budget_.callLimit());
    const auto selections = batch.call("Text", "GetNSelections"), caret = batch.property("Text", "CaretOffset"),
               count = batch.property("Text", "CharacterCount");
    const auto summary = summarize(element_.accessible(), element_.pid(), budget_);
    if (!summary.isEditable()) return Replacement::failed;
    if (summary.role == ATSPI_ROLE_PARAGRAPH && isInCell()) return Replacement::failed;
    batch.wait();
    std::optional<int> start = batch.number(caret);
    if (batch.number(selections).value_or(0) > 0) {
      const auto selected = selection();
      if (!selected) return Replacement::failed;
      start = selected->first;
      if (selected->first < selected->second) return replace(*selected, batch.number(count), text, summary.role);
    }
    return start && *start >= 0 && insert(*start, text) ? Replacement::claimed : Replacement::failed;
  }

 private:
  /// In the toolkit's own offsets.
  using Range = std::pair<int, int>;

  bool mayCall() { return budget_.mayCall(element_.pid()); }
  AtspiEditableText* editable() const { return ATSPI_EDITABLE_TEXT(element_.accessible()); }

  /// What is written into the cell of a spreadsheet while it is edited shows there, and is gone once the cell is left:
  /// only what comes as keys is kept.
  bool isInCell() {
    const auto cell = parentOf(element_.accessible());
    const auto document = roleOf(cell.get()) == ATSPI_ROLE_PANEL ? parentOf(cell.get()) : nullptr;
    return roleOf(document.get()) == ATSPI_ROLE_DOCUMENT_SPREADSHEET;
  }
  GRef<AtspiAccessible> parentOf(AtspiAccessible* accessible) {
    GErrorSlot error;
    return GRef<AtspiAccessible>(mayCall() ? atspi_accessible_get_parent(accessible, error) : nullptr);
  }
  AtspiRole roleOf(AtspiAccessible* accessible) {
    GErrorSlot error;
    if (accessible == nullptr || !mayCall()) return ATSPI_ROLE_INVALID;
    return atspi_accessible_get_role(accessible, error);
  }

  std::optional<Range> selection() {
    GErrorSlot error;
    if (!mayCall()) return std::nullopt;
    const std::unique_ptr<AtspiRange, decltype(&g_free)> range(atspi_text_get_selection(element_.text(), 0, error),
                                                               &g_free);
    if (error.failed() || !range || range->start_offset < 0) return std::nullopt;
    return std::minmax(range->start_offset, range->end_offset);
  }

  /// Most fields let go of their selection when anything is written.
  void selectAgain(Range range) {
    GErrorSlot countError, error;
    if (!mayCall() || atspi_text_get_n_selections(element_.text(), countError) > 0 || !mayCall()) return;
    atspi_text_add_selection(element_.text(), range.first, range.second, error);
  }

  bool remove(Range range) {
    GErrorSlot error;
    if (!mayCall()) return false;
    atspi_editable_text_delete_text(editable(), range.first, range.second, error);
    return !error.failed();
  }

  /// What was selected goes only once the new text is seen to be there.
  Replacement replace(Range selected, std::optional<int> before, const std::string& text, AtspiRole role) {
    // Each line gets an element of its own, and so this one can't tell how much has come.
    const bool divides = role == ATSPI_ROLE_PARAGRAPH && text.find('\n') != text.npos;
    if (!before) return Replacement::failed;
    if (divides) {
      return remove(selected) && insert(selected.first, text) ? Replacement::claimed : Replacement::failed;
    }
    const auto after = insertAndCount(selected.second, text);
    if (!after) return Replacement::failed;
    const int grown = *after - *before;
    if (grown < TextUnits::codePoints(text)) {
      if (grown > 0) remove({selected.second, selected.second + grown});
      selectAgain(selected);
      return role == ATSPI_ROLE_SPIN_BUTTON ? Replacement::rejected : Replacement::failed;
    }
    if (!remove(selected) || !mayCall()) return Replacement::claimed;
    GErrorSlot error;
    // Also where the caret is right, since the new text may be selected now.
    atspi_text_set_caret_offset(element_.text(), selected.first + grown, error);
    return Replacement::claimed;
  }

  AtspiBatch::Index sendInsert(AtspiBatch& batch, int start, const std::string& text) const {
    const auto length = toolkit_ == AtspiToolkit::gtk ? text.size() : TextUnits::utf16Length(text);
    return batch.call("EditableText", "InsertText", {start, text.c_str(), static_cast<int>(length)});
  }

  /// How many characters there are then.
  std::optional<int> insertAndCount(int start, const std::string& text) {
    if (!mayCall()) return std::nullopt;
    AtspiBatch batch(element_.accessible(), budget_.callLimit());
    const auto inserted = sendInsert(batch, start, text), count = batch.property("Text", "CharacterCount");
    batch.wait();
    return batch.succeeded(inserted) ? batch.number(count) : std::nullopt;
  }

  bool insert(int start, const std::string& text) {
    if (!mayCall()) return false;
    AtspiBatch batch(element_.accessible(), budget_.callLimit());
    const auto inserted = sendInsert(batch, start, text);
    const auto caret = batch.property("Text", "CaretOffset");
    batch.wait();
    if (!batch.succeeded(inserted)) return false;
    const auto length =
        static_cast<int>(toolkit_ == AtspiToolkit::gtk ? TextUnits::codePoints(text) : TextUnits::utf16Length(text));
    if (const auto now = batch.number(caret); now && *now >= 0) placeCaret(*now, start, start + length);
    return true;
  }

  /// Some fields leave the caret where it was, some put it at the end of everything.
  void placeCaret(int now, int start, int wanted) {
    const bool misplaced = toolkit_ == AtspiToolkit::qt ? now != wanted : now == start;
    if (!misplaced || !mayCall()) return;
    GErrorSlot error;
    atspi_text_set_caret_offset(element_.text(), wanted, error);
  }

  const AtspiElement& element_;
  AtspiToolkit toolkit_;
  CallBudget& budget_;
};

}  // namespace

Replacement replaceSelectedText(const AtspiElement& element, std::string_view text, CallBudget& budget) {
  if (text.empty() || text.size() > longestText ||
      !g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)) {
    return Replacement::failed;
  }
  const auto toolkit = toolkitOf(element, budget);
  if (toolkit != AtspiToolkit::gtk && toolkit != AtspiToolkit::qt) return Replacement::failed;
  return Writer(element, toolkit, budget).replace(std::string(text));
}

}  // namespace quillet
