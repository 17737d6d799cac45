// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiElement.h"

#include <cstring>
#include <string_view>

#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiBatch.h"

namespace quillet {
namespace {

bool isSearchField(const AtspiElement& element, CallBudget& budget) {
  if (!isWeb(toolkitOf(element, budget)) || !budget.mayCall(element.pid())) return false;
  GErrorSlot error;
  const std::unique_ptr<GHashTable, decltype(&g_hash_table_unref)> attributes(
      atspi_accessible_get_attributes(element.accessible(), error), &g_hash_table_unref);
  if (!attributes) return false;
  const auto is = [&](const char* key, std::string_view wanted) {
    const auto* value = static_cast<const char*>(g_hash_table_lookup(attributes.get(), key));
    return value != nullptr && value == wanted;
  };
  return is("text-input-type", "search") || is("xml-roles", "searchbox");
}

std::string textRole(const AtspiSummary& summary) {
  switch (summary.role) {
    case ATSPI_ROLE_PASSWORD_TEXT:
      return "AXSecureTextField";
    case ATSPI_ROLE_COMBO_BOX:
      return "AXComboBox";
    case ATSPI_ROLE_TERMINAL:
    case ATSPI_ROLE_PARAGRAPH:
    case ATSPI_ROLE_SECTION:
      return "AXTextArea";
    case ATSPI_ROLE_TEXT:
    case ATSPI_ROLE_ENTRY:
    case ATSPI_ROLE_EDITBAR:
    case ATSPI_ROLE_AUTOCOMPLETE:
      return summary.has(ATSPI_STATE_MULTI_LINE) ? "AXTextArea" : "AXTextField";
    default:
      return summary.isEditable() ? "AXTextArea" : "";
  }
}

AtspiToolkit toolkitNamed(std::string_view name) {
  if (name == "gtk" || name == "GTK") return AtspiToolkit::gtk;
  if (name == "Qt") return AtspiToolkit::qt;
  if (name == "Gecko") return AtspiToolkit::gecko;
  if (name == "Chromium") return AtspiToolkit::chromium;
  return AtspiToolkit::unknown;
}

bool isReadable(const AtspiElement& element, CallBudget& budget) {
  if (!budget.mayCall(element.pid())) return false;
  GErrorSlot error;
  return atspi_text_get_character_count(element.text(), error) >= 0 && !error.failed();
}

}  // namespace

bool AtspiElement::isSame(const ElementHandle& other) const {
  const auto* element = dynamic_cast<const AtspiElement*>(&other);
  if (element == nullptr) return false;
  if (element->accessible() == accessible()) return true;
  const auto& a = accessible()->parent;
  const auto& b = element->accessible()->parent;
  return a.app != nullptr && a.app == b.app && a.path != nullptr && b.path != nullptr &&
         std::strcmp(a.path, b.path) == 0;
}

bool AtspiSummary::isTextual() const {
  switch (role) {
    case ATSPI_ROLE_TEXT:
    case ATSPI_ROLE_ENTRY:
    case ATSPI_ROLE_PASSWORD_TEXT:
    case ATSPI_ROLE_PARAGRAPH:
    case ATSPI_ROLE_TERMINAL:
      return true;
    default:
      return has(ATSPI_STATE_EDITABLE) && !has(ATSPI_STATE_MANAGES_DESCENDANTS);
  }
}

bool AtspiSummary::isEditable() const {
  // A sheet's cells can be edited; the sheet itself, which has the focus while one is selected, is no field.
  return has(ATSPI_STATE_EDITABLE) && !has(ATSPI_STATE_MANAGES_DESCENDANTS) && !has(ATSPI_STATE_READ_ONLY) &&
         !has(ATSPI_STATE_DEFUNCT) && (has(ATSPI_STATE_ENABLED) || has(ATSPI_STATE_SENSITIVE));
}

bool AtspiSummary::offersCompletions() const {
  const bool closed = has(ATSPI_STATE_EXPANDABLE) && !has(ATSPI_STATE_EXPANDED);
  return has(ATSPI_STATE_SUPPORTS_AUTOCOMPLETION) && has(ATSPI_STATE_HAS_POPUP) && !closed;
}

bool AtspiSummary::isActiveItem() const {
  const bool active = has(ATSPI_STATE_ACTIVE) || !has(ATSPI_STATE_FOCUSABLE);  // some say the one, some the other
  return role == ATSPI_ROLE_LIST_ITEM && has(ATSPI_STATE_FOCUSED) && active;
}

AtspiSummary statesOf(AtspiAccessible* accessible, std::int32_t pid, CallBudget& budget) {
  AtspiSummary summary;
  if (budget.mayCall(pid)) summary.states.reset(atspi_accessible_get_state_set(accessible));
  return summary;
}

AtspiSummary summarize(AtspiAccessible* accessible, std::int32_t pid, CallBudget& budget) {
  AtspiSummary summary;
  if (!budget.mayCall(pid)) return summary;
  AtspiBatch batch(accessible, budget.callLimit());
  const auto role = batch.call("Accessible", "GetRole");
  // By libatspi, which also delivers the events that came meanwhile.
  summary.states.reset(atspi_accessible_get_state_set(accessible));
  if (!summary.answered()) return summary;
  batch.wait();
  const auto number = batch.number(role);
  if (!number || summary.has(ATSPI_STATE_DEFUNCT)) return {};
  summary.role = static_cast<AtspiRole>(*number);
  return summary;
}

AtspiToolkit toolkitOf(const AtspiElement& element, CallBudget& budget) {
  if (element.toolkit()) return *element.toolkit();
  if (!budget.mayCall(element.pid())) return AtspiToolkit::unknown;
  GErrorSlot applicationError, error;
  // Some toolkits answer this only for the application's own object.
  const GRef<AtspiAccessible> application(atspi_accessible_get_application(element.accessible(), applicationError));
  if (!application || !budget.mayCall(element.pid())) return AtspiToolkit::unknown;
  const auto name = takeText(atspi_accessible_get_toolkit_name(application.get(), error));
  if (!name || name->empty() || error.failed()) return AtspiToolkit::unknown;
  element.toolkit() = toolkitNamed(*name);
  return *element.toolkit();
}

ElementTraits traitsOf(const AtspiElement& element, CallBudget& budget) {
  ElementTraits traits;
  const auto summary = summarize(element.accessible(), element.pid(), budget);
  if (!summary.answered() || summary.role == ATSPI_ROLE_INVALID) return traits;
  element.role() = summary.role;
  traits.isSecure = summary.role == ATSPI_ROLE_PASSWORD_TEXT;
  traits.editable = summary.isEditable() || (summary.role == ATSPI_ROLE_TERMINAL && isReadable(element, budget));
  auto role = textRole(summary);
  if (role == "AXTextField" && isSearchField(element, budget)) role = "AXSearchField";
  traits.role = role.empty() ? takeText(atspi_role_get_name(summary.role)) : std::optional(std::move(role));
  if (traits.isSecure) traits.subrole = traits.role;
  return traits;
}

}  // namespace quillet
