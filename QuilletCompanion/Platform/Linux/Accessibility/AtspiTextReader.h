// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiBatch.h"
#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiElement.h"
#include "QuilletCompanion/Platform/Linux/Typing/KeyTypist.h"

namespace quillet {

/// Reads the text of one element within a budget. Toolkits count offsets in code points or in UTF-16 units; here that
/// never matters, because an offset is measured by the text that the toolkit says lies before it. Web containers whose
/// text is made of children are read as one text, a line for each child block.
class AtspiTextReader {
 public:
  AtspiTextReader(AtspiElementRef element, CallBudget& budget);

  /// Absent for a password field.
  std::optional<std::string> value();
  std::optional<AXTextRange> selection();
  /// Both at once.
  FieldReading field();
  /// The traits and the selection at once.
  TargetReading target();
  /// In the toolkit's own unit, of the innermost element that holds the caret.
  std::optional<KeyTypist::Observation> observation();

 private:
  struct Range {
    int start = 0, end = 0;
  };
  /// The element that holds the caret, and the UTF-16 units of the whole text before it.
  struct Leaf {
    AtspiElementRef element;
    std::int64_t before = 0;
    int caret = 0;
  };

  /// Questions that are under way in a batch.
  struct ValueQuestion {
    AtspiBatch::Index role = 0, count = 0;
  };
  struct CaretQuestion {
    AtspiBatch::Index caret = 0, selections = 0;
  };

  /// Of a web field without children, which has no caret while one of its completions is shown as having the focus.
  std::optional<KeyTypist::Observation> observationWithoutCaret();
  static ValueQuestion askValue(AtspiBatch& batch);
  std::optional<std::string> valueFrom(const AtspiBatch& batch, const ValueQuestion& question);
  static CaretQuestion askCaret(AtspiBatch& batch);
  /// Where no children share the text. `value`, if known, is that text.
  std::optional<AXTextRange> selectionFrom(const AtspiBatch& batch, const CaretQuestion& question,
                                           const std::optional<std::string>& value);
  std::optional<std::int64_t> utf16Units(Range range, const std::optional<std::string>& value);
  std::optional<int> count(const AtspiElement& element);
  std::optional<int> caret(const AtspiElement& element);
  /// Absent if it can't be told; empty at the caret without a selection.
  std::optional<Range> range(const AtspiElement& element, int caretOffset);
  /// Where there is one.
  std::optional<Range> firstSelection(const AtspiElement& element, int caretOffset);
  std::optional<std::string> slice(const AtspiElement& element, int start, int end);
  /// What stands right before `end`.
  std::optional<std::u32string> tail(const AtspiElement& element, int end);
  std::string clean(std::string text) const;
  std::optional<Leaf> leafAtCaret(bool measure);
  /// Absent unless the caret stands at a child.
  std::optional<std::string> textBeforeChildAtCaret(const Leaf& leaf);
  AtspiElementRef child(const AtspiElement& element, std::int64_t index);
  std::optional<std::string> flattened(const AtspiElement& element, std::string_view raw, int depth);
  std::optional<std::string> whole(const AtspiElement& element, int depth);
  bool isBlock(const AtspiElement& element);

  AtspiElementRef element_;
  CallBudget& budget_;
  AtspiToolkit toolkit_;
};

}  // namespace quillet
