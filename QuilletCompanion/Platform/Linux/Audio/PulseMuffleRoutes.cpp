// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Audio/PulseMuffleRoutes.h"

#include <future>
#include <utility>

#include "QuilletCompanion/Platform/Linux/Audio/PulseRoute.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;

/// What was given back is still to be heard from our buffers for so long.
constexpr Duration kDrain = 150ms;
constexpr Duration kPatience = 1s;

}  // namespace

/// The one route that stands, on the sound thread.
class PulseMuffleRoutes::Slot final : public std::enable_shared_from_this<Slot> {
 public:
  using Wishes = PulseRoute::Wishes;
  using Told = std::function<void(MuffleRoute::End, const MuffleRoute::Failure&)>;

  explicit Slot(PulseCore& core) : core_(core) {}

  void build(std::shared_ptr<const Wishes> wishes, const Told& told) {
    route_.reset();
    if (wishes->givenUp) return;
    route_ = std::make_unique<PulseRoute>(core_.connection, wishes);
    const auto failure = route_->build([self = weak_from_this(), told](const MuffleRoute::Failure& broken) {
      if (const auto alive = self.lock()) alive->route_.reset();
      told(MuffleRoute::End::broke, broken);
    });
    if (!failure) return;
    route_.reset();
    told(MuffleRoute::End::neverStood, *failure);
  }
  /// Ends the route of those wishes, unless another one took its place.
  void end(const Wishes* wishes) {
    if (!stands(wishes)) return;
    route_->giveBack();
    core_.loop.later(kDrain, [self = weak_from_this(), wishes] {
      const auto alive = self.lock();
      if (alive && alive->stands(wishes)) alive->route_.reset();
    });
  }
  void endNow() { route_.reset(); }

 private:
  bool stands(const Wishes* wishes) const { return route_ && route_->wishes() == wishes; }

  PulseCore& core_;
  std::unique_ptr<PulseRoute> route_;
};

/// The owner's end of a route.
class PulseMuffleRoutes::Handle final : public MuffleRoute {
 public:
  Handle(PulseThread& thread, std::shared_ptr<Slot> slot, OnEnd onEnd)
      : thread_(thread), slot_(std::move(slot)), onEnd_(std::make_shared<OnEnd>(std::move(onEnd))) {
    auto told = [core = thread_.core().get(), onEnd = std::weak_ptr(onEnd_)](End end, const Failure& failure) {
      core->tell([onEnd, end, failure] {
        // The handle may go in there.
        if (const auto alive = onEnd.lock()) (*alive)(end, failure);
      });
    };
    thread_.post([slot = slot_, wishes = wishes_, told = std::move(told)] { slot->build(wishes, told); });
  }
  ~Handle() override {
    wishes_->givenUp = true;
    thread_.post([slot = std::move(slot_), wishes = std::move(wishes_)] { slot->end(wishes.get()); });
  }

  void setEngaged(bool engaged) override { wishes_->engaged = engaged; }
  void tearDownNow() override {
    wishes_->givenUp = true;
    auto done = std::make_shared<std::promise<void>>();
    auto ended = done->get_future();
    thread_.post([slot = slot_, done] {
      slot->endNow();
      done->set_value();
    });
    ended.wait_for(kPatience);
  }

 private:
  PulseThread& thread_;
  std::shared_ptr<Slot> slot_;
  std::shared_ptr<PulseRoute::Wishes> wishes_ = std::make_shared<PulseRoute::Wishes>();
  std::shared_ptr<OnEnd> onEnd_;  ///< Expires with this, for news that are on their way.
};

PulseMuffleRoutes::PulseMuffleRoutes(PulseThread& thread)
    : thread_(thread), slot_(std::make_shared<Slot>(*thread.core())) {}

PulseMuffleRoutes::~PulseMuffleRoutes() {
  if (!used_) return;
  // A route that stands ends on its own thread.
  thread_.post([slot = std::move(slot_)] { slot->endNow(); });
}

std::unique_ptr<MuffleRoute> PulseMuffleRoutes::build(MuffleRoute::OnEnd onEnd) {
  used_ = true;
  return std::make_unique<Handle>(thread_, slot_, std::move(onEnd));
}

}  // namespace quillet
