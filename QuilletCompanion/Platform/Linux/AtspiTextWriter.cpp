// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/AtspiTextWriter.h"

#include <algorithm>
#include <optional>
#include <string>

#include "QuilletCompanion/Platform/Linux/TextUnits.h"

namespace quillet {
namespace {

constexpr std::size_t longestText = 1 << 20;

class Writer {
 public:
  Writer(const AtspiElement& element, AtspiToolkit toolkit, CallBudget& budget)
      : element_(element), toolkit_(toolkit), budget_(budget) {}

  bool replace(const std::string& text) {
    const auto start = clearSelection();
    if (!start || !insert(*start, text)) return false;
    placeCaret(*start, text);
    return true;
  }

 private:
  bool mayCall() { return budget_.mayCall(element_.pid()); }
  AtspiEditableText* editable() const { return ATSPI_EDITABLE_TEXT(element_.accessible()); }

  /// Gives where to insert, in the toolkit's own offsets.
  std::optional<int> clearSelection() {
    GErrorSlot countError, rangeError, deleteError;
    if (!mayCall()) return std::nullopt;
    if (atspi_text_get_n_selections(element_.text(), countError) <= 0) return caret();
    if (!mayCall()) return std::nullopt;
    const std::unique_ptr<AtspiRange, decltype(&g_free)> range(atspi_text_get_selection(element_.text(), 0, rangeError),
                                                               &g_free);
    if (rangeError.failed() || !range || range->start_offset < 0) return std::nullopt;
    const auto [start, end] = std::minmax(range->start_offset, range->end_offset);
    if (start == end) return start;
    if (!mayCall()) return std::nullopt;
    atspi_editable_text_delete_text(editable(), start, end, deleteError);
    return deleteError.failed() ? std::nullopt : std::optional(start);
  }

  bool insert(int start, const std::string& text) {
    if (!mayCall()) return false;
    const auto length =
        toolkit_ == AtspiToolkit::gtk ? static_cast<std::int64_t>(text.size()) : TextUnits::utf16Length(text);
    GErrorSlot error;
    atspi_editable_text_insert_text(editable(), start, text.c_str(), static_cast<int>(length), error);
    return !error.failed();
  }

  /// Some fields leave the caret where it was, some put it at the end of everything.
  void placeCaret(int start, const std::string& text) {
    const auto now = caret();
    if (!now || !mayCall()) return;
    const bool qt = toolkit_ == AtspiToolkit::qt;
    const auto wanted = start + static_cast<int>(qt ? TextUnits::utf16Length(text) : TextUnits::codePoints(text));
    GErrorSlot error;
    if (qt ? *now != wanted : *now == start) atspi_text_set_caret_offset(element_.text(), wanted, error);
  }

  std::optional<int> caret() {
    if (!mayCall()) return std::nullopt;
    GErrorSlot error;
    const int offset = atspi_text_get_caret_offset(element_.text(), error);
    return error.failed() || offset < 0 ? std::nullopt : std::optional(offset);
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
  if (!summarize(element.accessible(), element.pid(), budget).isEditable()) return false;
  return Writer(element, toolkit, budget).replace(std::string(text));
}

}  // namespace quillet
