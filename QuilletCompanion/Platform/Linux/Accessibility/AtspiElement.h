// SPDX-License-Identifier: MIT
#pragma once

#include <atspi/atspi.h>

#include <cstdint>
#include <memory>
#include <optional>

#include "QuilletCompanion/Platform/Linux/Accessibility/CallBudget.h"
#include "QuilletCompanion/Platform/Linux/Session/GObjectRef.h"
#include "QuilletCompanion/Target/AccessibilityProvider.h"

namespace quillet {

/// Which toolkit an element's application is made with, as far as its behaviour matters here.
enum class AtspiToolkit { unknown, gtk, qt, gecko, chromium };

/// An accessible object of another process.
class AtspiElement final : public ElementHandle {
 public:
  AtspiElement(GRef<AtspiAccessible> accessible, std::int32_t pid) : accessible_(std::move(accessible)), pid_(pid) {}

  bool isSame(const ElementHandle& other) const override;
  AtspiAccessible* accessible() const { return accessible_.get(); }
  AtspiText* text() const { return ATSPI_TEXT(accessible_.get()); }
  std::int32_t pid() const { return pid_; }
  /// As its application told last; invalid before that.
  AtspiRole& role() const { return role_; }
  /// Absent until its application told; the same from then on.
  std::optional<AtspiToolkit>& toolkit() const { return toolkit_; }

 private:
  GRef<AtspiAccessible> accessible_;
  std::int32_t pid_;
  mutable AtspiRole role_ = ATSPI_ROLE_INVALID;
  mutable std::optional<AtspiToolkit> toolkit_;
};
using AtspiElementRef = std::shared_ptr<const AtspiElement>;

/// What the tests of a role and of states need, read in one go. `answered` is false if the application didn't tell,
/// or the object doesn't exist (any more, or yet).
struct AtspiSummary {
  AtspiRole role = ATSPI_ROLE_INVALID;
  GRef<AtspiStateSet> states;

  bool answered() const { return states && !atspi_state_set_is_empty(states.get()); }
  bool has(AtspiStateType state) const { return states && atspi_state_set_contains(states.get(), state); }
  /// Takes text: it says so, or it is of a kind that shows text which its user edits. Buttons, panels, documents and
  /// cells, some of which claim the focus as well, are not.
  bool isTextual() const;
  bool isEditable() const;
  /// A text field that shows a list of completions.
  bool offersCompletions() const;
  /// The chosen item of a list whose owner keeps the real focus.
  bool isActiveItem() const;
};
/// Without the role: one call.
AtspiSummary statesOf(AtspiAccessible* accessible, std::int32_t pid, CallBudget& budget);
AtspiSummary summarize(AtspiAccessible* accessible, std::int32_t pid, CallBudget& budget);

AtspiToolkit toolkitOf(const AtspiElement& element, CallBudget& budget);
/// Text containers show each child as one U+FFFC.
inline bool isWeb(AtspiToolkit toolkit) {
  return toolkit == AtspiToolkit::gecko || toolkit == AtspiToolkit::chromium;
}

/// Role and editability in the vocabulary of the seam.
ElementTraits traitsOf(const AtspiElement& element, CallBudget& budget);

}  // namespace quillet
