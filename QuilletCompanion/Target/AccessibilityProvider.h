// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "QuilletCompanion/Target/FocusObservers.h"

namespace quillet {

/// An opaque reference to a window or an element of another application; it keeps what it wraps alive. Platforms
/// derive from it. Never prints contents.
class ElementHandle {
 public:
  virtual ~ElementHandle() = default;
  /// The same object of the platform (the pointers may differ).
  virtual bool isSame(const ElementHandle& other) const = 0;
};
using ElementRef = std::shared_ptr<const ElementHandle>;

/// Both absent, or both present and the same element.
inline bool sameElement(const ElementRef& a, const ElementRef& b) {
  if (!a || !b) return !a && !b;
  return a == b || a->isSame(*b);
}

/// In UTF-16 units, never negative.
struct AXTextRange {
  std::int64_t location = 0;
  std::int64_t length = 0;
  bool operator==(const AXTextRange&) const = default;
};

/// Roles and subroles use the vocabulary "AXTextField", "AXTextArea", "AXComboBox", "AXSearchField",
/// "AXSecureTextField"; other roles are the platform's own words.
struct ElementTraits {
  std::optional<std::string> role, subrole;
  bool isSecure = false;
  bool editable = false;
};

/// What a field holds at one moment; either may be absent.
struct FieldReading {
  std::optional<std::string> value;
  std::optional<AXTextRange> selection;
};

/// What there is to know of a field before anything is inserted.
struct TargetReading {
  ElementTraits traits;
  std::optional<AXTextRange> selection;  ///< Absent also for a field that is secure or can't be edited.
};

/// How much of a chunk was typed.
struct TypedUnits {
  std::size_t count = 0;  ///< UTF-16 units that were posted, from its beginning.
  /// The target is behind, or a key was pressed: the rest may be tried again, once the target was validated anew.
  bool later = false;
  explicit operator bool() const { return count > 0; }
};

struct FrontApplication {
  std::int32_t pid = 0;
  std::optional<std::string> bundleId;
  std::string name;
};

/// The seam between insertion and the desktop. Main thread only. Nothing fails: what the platform can't tell is absent
/// or false. Each call blocks for 0.75 s at most.
class AccessibilityProvider {
 public:
  virtual ~AccessibilityProvider() = default;
  virtual std::int32_t ownPID() const = 0;
  virtual bool isTrusted() = 0;
  virtual bool isLocked() = 0;
  virtual bool isSecureInputEnabled() = 0;
  /// Another program takes all keys, whatever has the focus: a screen locker that tells nobody, a menu, a prompt.
  virtual bool isKeyboardTaken() { return false; }
  /// Whether this application is the active one (its window has the focus).
  virtual bool isOwnApplicationActive() = 0;
  virtual std::optional<FrontApplication> frontApplication() = 0;
  virtual ElementRef focusedWindow(std::int32_t pid) = 0;
  virtual ElementRef focusedElement(std::int32_t pid) = 0;
  virtual ElementTraits inspect(const ElementRef& element) = 0;
  virtual std::optional<AXTextRange> selectedRange(const ElementRef& element) = 0;
  /// UTF-8.
  virtual std::optional<std::string> readValue(const ElementRef& element) = 0;
  /// What inspect() and selectedRange() say, for those who want both: a platform may find out in one go.
  virtual TargetReading readTarget(const ElementRef& element) {
    TargetReading reading{.traits = inspect(element)};
    if (reading.traits.editable && !reading.traits.isSecure) reading.selection = selectedRange(element);
    return reading;
  }
  /// As readTarget(), of readValue() and selectedRange().
  virtual FieldReading readField(const ElementRef& element) { return {readValue(element), selectedRange(element)}; }
  /// Replaces the selection, or inserts at the caret. True if the platform claimed success, which proves nothing.
  virtual bool replaceSelection(const ElementRef& element, std::string_view text) = 0;
  /// Control, Option (Alt) or Command (Super) is held.
  virtual bool modifiersDown() = 0;
  /// What is typed from now on is another text: what became of an earlier one doesn't stop it.
  virtual void beginTyping() {}
  /// Types 1 to 20 UTF-16 units as key events with no shift, layout or repeat artefact, into the element that has the
  /// focus and into no other.
  virtual TypedUnits typeUnicode(const ElementRef& element, std::u16string_view units) = 0;

  /// `changed` runs from the event loop after another application or another of its windows, or none, came to the
  /// front; also when the one in front ended. Never absent.
  virtual std::unique_ptr<FocusObservation> observeFrontApplication(std::function<void()> changed) = 0;
  /// `moved` runs from the event loop after the focus moved inside the application `pid`: with the text element that
  /// got it, even if it lost it again meanwhile, or with nothing if something else did. Absent if that application
  /// can't be observed.
  virtual std::unique_ptr<FocusObservation> observeFocus(std::int32_t pid,
                                                         std::function<void(const ElementRef&)> moved) = 0;
};

}  // namespace quillet
