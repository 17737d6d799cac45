// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Audio/SoundLoop.h"

#include <algorithm>

namespace quillet {
namespace {

using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;

constexpr Duration kLongestNap = 30min;
/// A wait looks again after so long, for conditions that another thread changes.
constexpr Duration kLook = 20ms;

}  // namespace

SoundLoop::SoundLoop() = default;

SoundLoop::~SoundLoop() {
  dropJobs();
  context_.shutdown();
  context_.destroy();
}

void SoundLoop::dropJobs() {
  // What they hold may post once more in its end.
  while (hasPosted() || !later_.empty()) {
    std::deque<Job> dropped;
    {
      const std::lock_guard guard(lock_);
      dropped.swap(posted_);
    }
    std::exchange(later_, {});
  }
}

void SoundLoop::post(Job job) {
  {
    const std::lock_guard guard(lock_);
    posted_.push_back(std::move(job));
  }
  pa_mainloop_wakeup(loop_.get());
}

Executor SoundLoop::executor() {
  return LoopExecutor(*this);
}

void SoundLoop::stop() {
  stopping_ = true;
  pa_mainloop_wakeup(loop_.get());
}

void SoundLoop::run() {
  while (!stopping_) {
    runReady();
    serve(later_.empty() ? SteadyClock::now() + kLongestNap : later_.begin()->first, true);
  }
}

void SoundLoop::later(Duration wait, Job job) {
  later_.emplace(SteadyClock::now() + wait, std::move(job));
}

bool SoundLoop::waitUntil(const std::function<bool()>& condition, Duration atMost) {
  const auto end = SteadyClock::now() + atMost;
  while (!condition()) {
    const auto now = SteadyClock::now();
    if (stopping_ || now >= end) return false;
    serve(std::min(end, now + kLook), false);
  }
  return true;
}

bool SoundLoop::hasPosted() {
  const std::lock_guard guard(lock_);
  return !posted_.empty();
}

void SoundLoop::runReady() {
  std::deque<Job> ready;
  {
    const std::lock_guard guard(lock_);
    ready.swap(posted_);
  }
  for (; !ready.empty() && !stopping_; ready.pop_front()) ready.front()();
  while (!later_.empty() && later_.begin()->first <= SteadyClock::now() && !stopping_) {
    const Job job = std::move(later_.begin()->second);
    later_.erase(later_.begin());
    job();
  }
}

void SoundLoop::serve(MonotonicTime until, bool untilJob) {
  const auto wait = std::clamp(Duration(until - SteadyClock::now()), Duration::zero(), kLongestNap);
  const auto microseconds = std::chrono::ceil<std::chrono::microseconds>(wait).count();
  if (pa_mainloop_prepare(loop_.get(), static_cast<int>(microseconds)) < 0) return;
  // Preparing forgets a wake-up from before it.
  if (stopping_ || (untilJob && hasPosted())) pa_mainloop_wakeup(loop_.get());
  if (pa_mainloop_poll(loop_.get()) >= 0) pa_mainloop_dispatch(loop_.get());
}

}  // namespace quillet
