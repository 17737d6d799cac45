// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "QuilletCompanion/Platform/Linux/Accessibility/AccessibilityBus.h"
#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiElement.h"
#include "QuilletCompanion/Platform/Linux/Accessibility/CallBudget.h"
#include "QuilletCompanion/Platform/Linux/Session/DesktopEntries.h"
#include "QuilletCompanion/Platform/Linux/Typing/KeyTypist.h"
#include "QuilletCompanion/Platform/Linux/Typing/ModifierState.h"
#include "QuilletCompanion/Platform/Linux/X11/FrontWindow.h"
#include "QuilletCompanion/Target/AccessibilityProvider.h"
#include "QuilletCompanion/Target/ScreenLockMonitor.h"

namespace quillet {

class AtspiFocusTracker;

/// The desktop as AT-SPI and X11 show it. Main thread only; construct after QCoreApplication, whose GLib event loop
/// delivers the focus events. Never asks anything of its own process.
class SystemAccessibilityProvider final : public AccessibilityProvider {
 public:
  /// The references must outlive it.
  SystemAccessibilityProvider(std::int32_t ownPID, ScreenLockMonitor& lockMonitor, KeyTypist& keyTypist);
  ~SystemAccessibilityProvider() override;

  /// Switches the desktop's accessibility on and begins to follow the focus. To be called at launch, and harmless when
  /// repeated. False if the accessibility service doesn't answer.
  bool enableAccessibility();
  /// Trusted by what the system says, although the registry no longer answers us.
  bool isGrantStale();

  std::int32_t ownPID() const override { return ownPID_; }
  bool isTrusted() override;
  bool isLocked() override { return lockMonitor_.isLocked(); }
  /// The element with the focus in front is a password field.
  bool isSecureInputEnabled() override;
  bool isKeyboardTaken() override { return front_.isKeyboardTaken(); }
  bool isOwnApplicationActive() override;
  std::optional<FrontApplication> frontApplication() override;
  ElementRef focusedWindow(std::int32_t pid) override;
  ElementRef focusedElement(std::int32_t pid) override;
  ElementTraits inspect(const ElementRef& element) override;
  std::optional<AXTextRange> selectedRange(const ElementRef& element) override;
  /// A password field's content is never read.
  std::optional<std::string> readValue(const ElementRef& element) override;
  TargetReading readTarget(const ElementRef& element) override;
  FieldReading readField(const ElementRef& element) override;
  bool replaceSelection(const ElementRef& element, std::string_view text) override;
  bool modifiersDown() override { return modifiers_.modifiersDown(); }
  void beginTyping() override { keyTypist_.beginText(); }
  TypedUnits typeUnicode(const ElementRef& element, std::u16string_view units) override;
  std::unique_ptr<FocusObservation> observeFrontApplication(std::function<void()> changed) override;
  std::unique_ptr<FocusObservation> observeFocus(std::int32_t pid,
                                                 std::function<void(const ElementRef&)> moved) override;

 private:
  std::shared_ptr<const AtspiElement> focusedText(std::int32_t pid, CallBudget& budget, AtspiRole* role = nullptr);
  std::shared_ptr<const AtspiElement> usable(const ElementRef& element) const;

  std::int32_t ownPID_;
  ScreenLockMonitor& lockMonitor_;
  KeyTypist& keyTypist_;
  AccessibilityBus bus_;
  FrontWindow front_;
  ModifierState modifiers_;
  DesktopEntries entries_;
  HungApplications hung_;
  std::unique_ptr<AtspiFocusTracker> tracker_;
  FocusObservers<> frontObservers_;
  std::map<std::int32_t, FocusObservers<ElementRef>> focusObservers_;
  ElementRef typedInto_;   ///< Kept so that no other element gets its address, by which the typist tells them apart.
  ElementRef rejectedBy_;  ///< The field that wanted nothing of the last text in place of its selection.
};

}  // namespace quillet
