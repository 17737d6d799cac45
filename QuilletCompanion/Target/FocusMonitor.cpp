// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Target/FocusMonitor.h"

#include <utility>

namespace quillet {

FocusMonitor::FocusMonitor(TargetGuard& targetGuard, AccessibilityProvider& provider,
                           std::function<void()> onFocusChange)
    : targetGuard_(targetGuard), provider_(provider), onFocusChange_(std::move(onFocusChange)) {}

void FocusMonitor::start() {
  if (front_) return;
  front_ = provider_.observeFrontApplication([this] { refresh(); });
  refresh();
}

void FocusMonitor::stop() {
  front_.reset();
  detach();
}

void FocusMonitor::refresh() {
  const auto front = provider_.frontApplication();
  const auto pid = front ? std::optional(front->pid) : std::nullopt;
  if (pid != observedPID_ || !observer_) attach(pid);
  targetGuard_.resyncFocus();
  tell();
}

void FocusMonitor::detach() {
  observer_.reset();
  observedPID_.reset();
}

void FocusMonitor::attach(std::optional<std::int32_t> pid) {
  detach();
  if (!pid || *pid == provider_.ownPID() || !provider_.isTrusted()) return;
  observer_ = provider_.observeFocus(*pid, [this](const ElementRef& element) { focusMoved(element); });
  if (observer_) observedPID_ = pid;
}

void FocusMonitor::focusMoved(const ElementRef& element) {
  targetGuard_.focusChanged(element);
  tell();
}

void FocusMonitor::tell() const {
  if (onFocusChange_) onFocusChange_();
}

}  // namespace quillet
