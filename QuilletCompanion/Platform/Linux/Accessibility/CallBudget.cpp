// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Accessibility/CallBudget.h"

#include <atspi/atspi.h>

#include <algorithm>

namespace quillet {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr auto hungFor = std::chrono::seconds(1);
/// A call that was given less than this and failed proves nothing about the application.
constexpr milliseconds patience{250};

}  // namespace

bool HungApplications::contains(std::int32_t pid) const {
  const auto found = until_.find(pid);
  return found != until_.end() && steady_clock::now() < found->second;
}

void HungApplications::add(std::int32_t pid) {
  const auto now = steady_clock::now();
  std::erase_if(until_, [now](const auto& entry) { return entry.second <= now; });
  until_[pid] = now + hungFor;
}

CallBudget::CallBudget(HungApplications& hung, MonotonicTime deadline)
    : hung_(hung), deadline_(std::min(deadline, steady_clock::now() + limit)) {}

bool CallBudget::mayCall(std::int32_t pid) {
  notePrevious();
  const auto now = steady_clock::now();
  const auto left = std::chrono::duration_cast<milliseconds>(deadline_ - now);
  if (left.count() <= 0 || hung_.contains(pid)) return false;
  // libatspi's clock starts anew if another message comes in meanwhile, so that a call may take twice its time-out.
  const int timeout = std::max(1, static_cast<int>(left.count() / 2));
  atspi_set_timeout(timeout, timeout);
  callStart_ = now;
  callLimit_ = milliseconds(timeout);
  callPID_ = pid;
  return true;
}

void CallBudget::notePrevious() {
  if (callPID_ == 0) return;
  if (callLimit_ >= patience && steady_clock::now() - callStart_ >= callLimit_) hung_.add(callPID_);
  callPID_ = 0;
}

}  // namespace quillet
