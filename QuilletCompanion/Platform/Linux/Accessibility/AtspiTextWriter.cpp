// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiTextWriter.h"

#include <algorithm>
#include <optional>
#include <string>

#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiBatch.h"
#include "QuilletCompanion/Platform/Linux/Accessibility/TextUnits.h"

namespace quillet {
namespace {

constexpr std::size_t longestText = 1 << 20;

class Writer {
 public:
  Writer(const AtspiElement& element, AtspiToolkit toolkit, CallBudget& budget)
      : element_(element), toolkit_(toolkit), budget_(budget) {}

  bool replace(const std::string& text) {
    if (!mayCall()) return false;
    AtspiBatch batch(element_.accessible(), budget_.callLimit());
    const auto selections = batch.call("Text", "GetNSelections"), caret = batch.property("Text", "CaretOffset");
    if (!statesOf(element_.accessible(), element_.pid(), budget_).isEditable()) return false;
    batch.wait();
    const bool selected = batch.number(selections).value_or(0) > 0;
    const auto start = selected ? clearSelection() : batch.number(caret);
    return start && *start >= 0 && insert(*start, text);
  }

 private:
  bool mayCall() { return budget_.mayCall(element_.pid()); }
  AtspiEditableText* editable() const { return ATSPI_EDITABLE_TEXT(element_.accessible()); }

  /// Gives where to insert, in the toolkit's own offsets.
  std::optional<int> clearSelection() {
    GErrorSlot rangeError, deleteError;
    if (!mayCall()) return std::nullopt;
    const std::unique_ptr<AtspiRange, decltype(&g_free)> range(atspi_text_get_selection(element_.text(), 0, rangeError),
                                                               &g_free);
    if (rangeError.failed() || !range || range->start_offset < 0) return std::nullopt;
    const auto [start, end] = std::minmax(range->start_offset, range->end_offset);
    if (start == end) return start;
    if (!mayCall()) return std::nullopt;
    atspi_editable_text_delete_text(editable(), start, end, deleteError);
    element_.guess().characters -= end - start;
    return deleteError.failed() ? std::nullopt : std::optional(start);
  }

  bool insert(int start, const std::string& text) {
    if (!mayCall()) return false;
    const auto utf16 = static_cast<int>(TextUnits::utf16Length(text));
    const bool gtk = toolkit_ == AtspiToolkit::gtk;
    AtspiBatch batch(element_.accessible(), budget_.callLimit());
    const auto inserted =
        batch.call("EditableText", "InsertText", {start, text.c_str(), gtk ? static_cast<int>(text.size()) : utf16});
    const auto caret = batch.property("Text", "CaretOffset");
    batch.wait();
    if (!batch.succeeded(inserted)) return false;
    const int length = gtk ? static_cast<int>(TextUnits::codePoints(text)) : utf16;
    element_.guess().characters += length;
    element_.guess().caret = start + length;
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

bool replaceSelectedText(const AtspiElement& element, std::string_view text, CallBudget& budget) {
  if (text.empty() || text.size() > longestText ||
      !g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)) {
    return false;
  }
  const auto toolkit = toolkitOf(element, budget);
  if (toolkit != AtspiToolkit::gtk && toolkit != AtspiToolkit::qt) return false;
  return Writer(element, toolkit, budget).replace(std::string(text));
}

}  // namespace quillet
