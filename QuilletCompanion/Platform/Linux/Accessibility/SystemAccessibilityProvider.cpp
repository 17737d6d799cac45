// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Accessibility/SystemAccessibilityProvider.h"

#include <QCoreApplication>
#include <QThread>
#include <chrono>
#include <cstdlib>

#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiFocusTracker.h"
#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiTextReader.h"
#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiTextWriter.h"
#include "QuilletKit/Base/Log.h"

namespace quillet {
namespace {

constexpr std::size_t mostUnits = 20;

/// A call from another thread is a programming error: state here has no locks.
void checkMainThread() {
  if (QThread::currentThread() == QCoreApplication::instance()->thread()) return;
  Log::error("insertion", "Accessibility was asked from another thread than the main one");
  std::abort();
}

}  // namespace

SystemAccessibilityProvider::SystemAccessibilityProvider(std::int32_t ownPID, ScreenLockMonitor& lockMonitor,
                                                         KeyTypist& keyTypist)
    : ownPID_(ownPID),
      lockMonitor_(lockMonitor),
      keyTypist_(keyTypist),
      tracker_(std::make_unique<AtspiFocusTracker>(ownPID, hung_)) {
  bus_.onNewRegistry = [this] { tracker_->restart(); };
  front_.onChange = [this] { frontObservers_.notify(); };
  tracker_->onFocusEvent = [this](std::int32_t pid, const ElementRef& element) {
    const auto observed = focusObservers_.find(pid);
    if (observed != focusObservers_.end()) observed->second.notify(element);
  };
}

SystemAccessibilityProvider::~SystemAccessibilityProvider() = default;

bool SystemAccessibilityProvider::enableAccessibility() {
  checkMainThread();
  return bus_.enable() && isTrusted();
}

bool SystemAccessibilityProvider::isGrantStale() {
  checkMainThread();
  return bus_.isStale();
}

bool SystemAccessibilityProvider::isTrusted() {
  checkMainThread();
  if (!bus_.isEnabled()) return false;
  tracker_->start();
  return true;
}

bool SystemAccessibilityProvider::isSecureInputEnabled() {
  checkMainThread();
  const auto owner = front_.owner();
  if (!owner) return false;
  CallBudget budget(hung_);
  auto role = ATSPI_ROLE_INVALID;
  return focusedText(owner->pid, budget, &role) && role == ATSPI_ROLE_PASSWORD_TEXT;
}

bool SystemAccessibilityProvider::isOwnApplicationActive() {
  checkMainThread();
  const auto owner = front_.owner();
  return owner && owner->pid == ownPID_;
}

std::optional<FrontApplication> SystemAccessibilityProvider::frontApplication() {
  checkMainThread();
  const auto owner = front_.owner();
  if (!owner) return std::nullopt;
  FrontApplication application{.pid = owner->pid, .name = entries_.name(owner->id, owner->windowClass)};
  if (!owner->id.empty()) application.bundleId = owner->id;
  if (application.name.empty()) application.name = owner->windowClass;
  if (application.name.empty()) application.name = owner->id.empty() ? "App" : owner->id;
  return application;
}

ElementRef SystemAccessibilityProvider::focusedWindow(std::int32_t pid) {
  checkMainThread();
  if (pid == ownPID_) return nullptr;
  const auto owner = front_.owner();
  return owner && owner->pid == pid ? std::make_shared<WindowHandle>(owner->window) : nullptr;
}

ElementRef SystemAccessibilityProvider::focusedElement(std::int32_t pid) {
  checkMainThread();
  // Who asks shall know of what moved before the answer: a focus that went and came back looks the same.
  tracker_->deliver();
  CallBudget budget(hung_);
  return focusedText(pid, budget);
}

std::shared_ptr<const AtspiElement> SystemAccessibilityProvider::focusedText(std::int32_t pid, CallBudget& budget,
                                                                             AtspiRole* role) {
  if (pid == ownPID_ || !isTrusted()) return nullptr;
  const auto window = [&] {
    const auto owner = front_.owner();
    return owner && owner->pid == pid ? owner->window : 0;
  };
  return tracker_->focused(pid, window, budget, role);
}

std::shared_ptr<const AtspiElement> SystemAccessibilityProvider::usable(const ElementRef& element) const {
  checkMainThread();
  auto found = std::dynamic_pointer_cast<const AtspiElement>(element);
  return found && found->pid() != ownPID_ ? found : nullptr;
}

ElementTraits SystemAccessibilityProvider::inspect(const ElementRef& element) {
  const auto target = usable(element);
  if (!target) return {};
  CallBudget budget(hung_);
  return traitsOf(*target, budget);
}

std::optional<AXTextRange> SystemAccessibilityProvider::selectedRange(const ElementRef& element) {
  const auto target = usable(element);
  if (!target) return std::nullopt;
  CallBudget budget(hung_);
  return AtspiTextReader(target, budget).selection();
}

std::optional<std::string> SystemAccessibilityProvider::readValue(const ElementRef& element) {
  const auto target = usable(element);
  if (!target) return std::nullopt;
  CallBudget budget(hung_);
  return AtspiTextReader(target, budget).value();
}

TargetReading SystemAccessibilityProvider::readTarget(const ElementRef& element) {
  const auto target = usable(element);
  if (!target) return {};
  CallBudget budget(hung_);
  return AtspiTextReader(target, budget).target();
}

FieldReading SystemAccessibilityProvider::readField(const ElementRef& element) {
  const auto target = usable(element);
  if (!target) return {};
  CallBudget budget(hung_);
  return AtspiTextReader(target, budget).field();
}

bool SystemAccessibilityProvider::replaceSelection(const ElementRef& element, std::string_view text) {
  const auto target = usable(element);
  if (!target) return false;
  CallBudget budget(hung_);
  const auto replacement = replaceSelectedText(*target, text, budget);
  rejectedBy_ = replacement == Replacement::rejected ? element : nullptr;
  return replacement == Replacement::claimed;
}

TypedUnits SystemAccessibilityProvider::typeUnicode(const ElementRef& wanted, std::u16string_view units) {
  const auto deadline = std::chrono::steady_clock::now() + CallBudget::limit;
  const auto target = usable(wanted);
  if (!target || units.empty() || units.size() > mostUnits) return {};
  const std::int32_t pid = target->pid();
  const auto isInFront = [&] {
    const auto owner = front_.owner();
    return owner && owner->pid == pid;
  };
  if (!isInFront()) return {};  // keys go to whatever is in front
  CallBudget budget(hung_, deadline);
  const auto element = focusedText(pid, budget);
  if (!element) return {.later = true};  // it may only be busy
  if (!element->isSame(*target)) return {};
  if (rejectedBy_ && sameElement(element, rejectedBy_)) return {};
  typedInto_ = element;
  AtspiTextReader reader(element, budget);
  const auto progress = [&]() -> std::optional<KeyTypist::Observation> {
    const auto takesKeys = tracker_->takesKeys(element, budget);
    if (!takesKeys) return std::nullopt;
    if (!*takesKeys || !isInFront()) return KeyTypist::Observation{.elsewhere = true};
    return reader.observation();
  };
  return keyTypist_.type(units, progress, deadline);
}

std::unique_ptr<FocusObservation> SystemAccessibilityProvider::observeFrontApplication(std::function<void()> changed) {
  checkMainThread();
  return frontObservers_.add(std::move(changed));
}

std::unique_ptr<FocusObservation> SystemAccessibilityProvider::observeFocus(
    std::int32_t pid, std::function<void(const ElementRef&)> moved) {
  if (pid == ownPID_ || !isTrusted() || !tracker_->isListening()) return nullptr;
  std::erase_if(focusObservers_, [](const auto& entry) { return !entry.second.any(); });
  return focusObservers_[pid].add(std::move(moved));
}

}  // namespace quillet
