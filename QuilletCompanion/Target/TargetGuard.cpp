// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Target/TargetGuard.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Base/Crypto.h"

namespace quillet {
namespace {

constexpr std::int64_t kTokenLifetime = 600'000;
constexpr std::int64_t kTokenMemory = 3'600'000;
constexpr std::size_t kMaximumTokens = 128;
constexpr std::size_t kTokenBytes = 16;

std::string labelFor(const ElementTraits& traits) {
  if (traits.role == "AXSearchField" || traits.subrole == "AXSearchField") return "Search field";
  if (traits.role == "AXTextArea") return "Text area";
  return "Text field";
}

FocusBaseline focusOf(const CapturedTarget& target) {
  const auto* element = std::get_if<ElementRef>(&target.kind);
  if (element == nullptr) return {.pid = target.pid};
  return {.pid = target.pid, .window = target.window, .element = *element};
}

}  // namespace

TargetGuard::TargetGuard(AccessibilityProvider& provider, std::weak_ptr<LocalTestTarget> localTest,
                         std::function<std::int64_t()> now)
    : provider_(provider), localTest_(std::move(localTest)), now_(std::move(now)) {}

ProbeResult TargetGuard::probe() {
  if (provider_.isLocked()) return TargetRefusal{RefusalReason::locked, std::nullopt};
  // Behind what may be a lock, the application in front is nobody's business.
  if (provider_.isKeyboardTaken()) return TargetRefusal{RefusalReason::noField, std::nullopt};
  const auto front = provider_.frontApplication();
  if (!front || front->name.empty()) return TargetRefusal{RefusalReason::noField, std::nullopt};
  if (front->pid == provider_.ownPID()) return probeLocalTest(*front);
  return probeElement(*front);
}

ProbeResult TargetGuard::probeLocalTest(const FrontApplication& front) {
  if (!localTestAccepts()) return TargetRefusal{RefusalReason::noField, front.name};
  return CapturedTarget{.pid = front.pid,
                        .bundleId = front.bundleId,
                        .appName = front.name,
                        .window = nullptr,
                        .kind = LocalTestKind{},
                        .selectedRange = std::nullopt,
                        .fieldLabel = "Test field"};
}

ProbeResult TargetGuard::probeElement(const FrontApplication& front) {
  const auto refuse = [&](RefusalReason reason) { return TargetRefusal{reason, front.name}; };
  if (!provider_.isTrusted()) return refuse(RefusalReason::noAccessibility);
  if (provider_.isSecureInputEnabled()) return refuse(RefusalReason::secureField);
  const ElementRef element = provider_.focusedElement(front.pid);
  if (!element) return refuse(RefusalReason::noField);
  const auto [traits, selection] = provider_.readTarget(element);
  if (traits.isSecure) return refuse(RefusalReason::secureField);
  if (!traits.editable) return refuse(RefusalReason::noField);
  return CapturedTarget{.pid = front.pid,
                        .bundleId = front.bundleId,
                        .appName = front.name,
                        .window = provider_.focusedWindow(front.pid),
                        .kind = element,
                        .selectedRange = selection,
                        .fieldLabel = labelFor(traits)};
}

bool TargetGuard::localTestAccepts() {
  const auto field = localTest_.lock();
  return field && field->isFocused() && provider_.isOwnApplicationActive();
}

PrepareDecision TargetGuard::prepare(const std::string& peerId) {
  prune();
  auto probed = probe();
  if (auto* refusal = std::get_if<TargetRefusal>(&probed)) return std::move(*refusal);
  TargetSnapshot snapshot{std::get<CapturedTarget>(std::move(probed))};
  FocusBaseline focus = focusOf(snapshot);
  if (baseline_ != focus) {
    ++focusGeneration_;
    baseline_ = std::move(focus);
  }
  snapshot.token = Base64URL::encode(Crypto::randomBytes(kTokenBytes));
  snapshot.peerId = peerId;
  snapshot.generation = focusGeneration_;
  snapshot.issuedAt = now_();
  snapshot.expiresAt = snapshot.issuedAt + kTokenLifetime;
  tokens_.insert_or_assign(snapshot.token, snapshot);
  trim(snapshot.token);
  return snapshot;
}

void TargetGuard::prune() {
  const std::int64_t limit = now_() - kTokenMemory;
  std::erase_if(tokens_, [limit](const auto& entry) { return entry.second.expiresAt <= limit; });
}

void TargetGuard::trim(const std::string& newest) {
  const auto age = [&](const auto& entry) { return std::pair(entry.second.issuedAt, entry.first == newest); };
  while (tokens_.size() > kMaximumTokens) {
    tokens_.erase(std::min_element(tokens_.begin(), tokens_.end(),
                                   [&](const auto& a, const auto& b) { return age(a) < age(b); }));
  }
}

TokenLookup TargetGuard::lookup(const std::string& token, const std::string& peerId) const {
  const auto found = tokens_.find(token);
  if (found == tokens_.end() || found->second.peerId != peerId) return RefusalReason::tokenUnknown;
  if (now_() >= found->second.expiresAt) return RefusalReason::tokenExpired;
  return found->second;
}

void TargetGuard::consume(const std::string& token) {
  tokens_.erase(token);
}

void TargetGuard::dropTokens(const std::string& peerId) {
  std::erase_if(tokens_, [&](const auto& entry) { return entry.second.peerId == peerId; });
}

std::optional<RefusalReason> TargetGuard::validate(const TargetSnapshot& snapshot, bool checkSelection) {
  if (provider_.isLocked()) return RefusalReason::locked;
  if (const auto* element = std::get_if<ElementRef>(&snapshot.kind)) {
    return validateElement(snapshot, *element, checkSelection);
  }
  return validateLocalTest(snapshot);
}

std::optional<RefusalReason> TargetGuard::validateElement(const TargetSnapshot& snapshot, const ElementRef& element,
                                                          bool checkSelection) {
  if (!provider_.isTrusted()) return RefusalReason::noAccessibility;
  const auto front = provider_.frontApplication();
  if (!front || front->pid != snapshot.pid || front->bundleId != snapshot.bundleId) return RefusalReason::appChanged;
  if (provider_.isSecureInputEnabled()) return RefusalReason::secureField;
  if (!sameElement(provider_.focusedWindow(snapshot.pid), snapshot.window)) return RefusalReason::focusChanged;
  const ElementRef focused = provider_.focusedElement(snapshot.pid);
  if (!focused || !sameElement(focused, element)) return RefusalReason::focusChanged;
  if (focusGeneration_ != snapshot.generation) return RefusalReason::focusChanged;
  const auto [traits, selection] =
      checkSelection ? provider_.readTarget(element) : TargetReading{.traits = provider_.inspect(element)};
  if (traits.isSecure) return RefusalReason::secureField;
  if (!traits.editable) return RefusalReason::unsupportedTarget;
  if (checkSelection && selection != snapshot.selectedRange) return RefusalReason::selectionChanged;
  return std::nullopt;
}

std::optional<RefusalReason> TargetGuard::validateLocalTest(const TargetSnapshot& snapshot) {
  const auto front = provider_.frontApplication();
  if (!front || front->pid != snapshot.pid) return RefusalReason::appChanged;
  if (!localTestAccepts() || focusGeneration_ != snapshot.generation) return RefusalReason::focusChanged;
  return std::nullopt;
}

std::optional<FocusBaseline> TargetGuard::currentFocus() {
  const auto front = provider_.frontApplication();
  if (!front) return std::nullopt;
  if (front->pid == provider_.ownPID() || !provider_.isTrusted()) return FocusBaseline{.pid = front->pid};
  return FocusBaseline{.pid = front->pid,
                       .window = provider_.focusedWindow(front->pid),
                       .element = provider_.focusedElement(front->pid)};
}

void TargetGuard::focusChanged(const ElementRef& element) {
  auto current = currentFocus();
  const bool aboutSomethingElse =
      element && current && !sameElement(element, current->element) && !sameElement(element, current->window);
  if (!aboutSomethingElse && current == baseline_) return;
  ++focusGeneration_;
  baseline_ = std::move(current);
}

void TargetGuard::resyncFocus() {
  focusChanged(nullptr);
}

void TargetGuard::invalidateFocus() {
  ++focusGeneration_;
  baseline_.reset();
}

}  // namespace quillet
