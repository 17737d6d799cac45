// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/AudioMuffler.h"

#include <algorithm>
#include <utility>

#include "QuilletCompanion/Dictation/LowPassMuffler.h"
#include "QuilletKit/Base/Log.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr Duration kExtraWait = 50ms;
constexpr Duration kFirstWait = 500ms, kLongestWait = 8s;

}  // namespace

AudioMuffler::AudioMuffler(Executor mainThread, TimeSource time, MuffleRoutes& routes)
    : time_(std::move(time)), routes_(routes), later_(std::move(mainThread)) {}

void AudioMuffler::start() {
  if (engaged_ && (route_ || later_.running())) return;
  later_.cancel();
  engaged_ = true;
  nextWait_ = {};
  if (!route_) build();
  route_->setEngaged(true);
}

void AudioMuffler::restore() {
  if (!engaged_) return;
  later_.cancel();
  engaged_ = false;
  if (!route_) return;
  route_->setEngaged(false);
  later_.start([this](Task::Token token) { return tearDownAfterFade(token); });
}

void AudioMuffler::restoreNow() {
  later_.cancel();
  engaged_ = false;
  if (const auto route = std::exchange(route_, nullptr)) route->tearDownNow();
}

// A sleep that was over at the moment of its cancellation ends as if there had been none, so the token is asked: this
// object may be gone then.
Awaitable<void> AudioMuffler::tearDownAfterFade(Task::Token token) {
  co_await time_.sleep(std::chrono::duration_cast<Duration>(LowPassMuffler::fadeTime) + kExtraWait);
  if (!token.cancelled()) route_.reset();
}

void AudioMuffler::build() {
  route_ =
      routes_.build([this](MuffleRoute::End end, const MuffleRoute::Failure& failure) { routeEnded(end, failure); });
}

void AudioMuffler::routeEnded(MuffleRoute::End end, const MuffleRoute::Failure& failure) {
  route_.reset();
  const bool again = end == MuffleRoute::End::broke || nextWait_ > Duration::zero();
  if (nextWait_ == Duration::zero()) Log::error("dictation", "Couldn't muffle audio: {}", failure.text());
  if (!again || !engaged_) return;
  nextWait_ = std::clamp(nextWait_ * 2, kFirstWait, kLongestWait);
  later_.start([this](Task::Token token) { return buildAgain(token, nextWait_); });
}

Awaitable<void> AudioMuffler::buildAgain(Task::Token token, Duration wait) {
  co_await time_.sleep(wait);
  if (token.cancelled()) co_return;
  build();
  route_->setEngaged(true);
}

}  // namespace quillet
