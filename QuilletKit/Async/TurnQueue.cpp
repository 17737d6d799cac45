// SPDX-License-Identifier: MIT
#include "QuilletKit/Async/TurnQueue.h"

#include <boost/asio/error.hpp>
#include <boost/system/system_error.hpp>
#include <list>
#include <utility>

namespace quillet {

/// Those that wait stand in line, the next one first.
struct TurnQueue::State {
  class Place;

  std::size_t atOnce = 1, taken = 0;
  std::list<const Place*> places;
  Event moved;
  bool closed = false;
};

/// Lives in the coroutine that waits: leaves the queue with it.
class TurnQueue::State::Place {
 public:
  explicit Place(State& state) : state_(state) { state_.places.push_back(this); }
  ~Place() {
    state_.places.remove(this);
    state_.moved.wake();
  }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;

  bool isNext() const { return state_.taken < state_.atOnce && state_.places.front() == this; }

 private:
  State& state_;
};

TurnQueue::Turn& TurnQueue::Turn::operator=(Turn&& other) noexcept {
  if (this != &other) {
    end();
    state_ = std::move(other.state_);
  }
  return *this;
}

void TurnQueue::Turn::end() {
  if (const auto state = std::exchange(state_, nullptr)) {
    --state->taken;
    state->moved.wake();
  }
}

TurnQueue::TurnQueue(std::size_t atOnce) : state_(std::make_shared<State>()) {
  state_->atOnce = atOnce;
}

TurnQueue::~TurnQueue() {
  close();
}

Awaitable<TurnQueue::Turn> TurnQueue::next() {
  const auto state = state_;
  const State::Place place(*state);
  while (!state->closed && !place.isNext()) co_await state->moved.wait();
  if (state->closed) throw boost::system::system_error(boost::asio::error::operation_aborted);
  ++state->taken;
  co_return Turn(state);
}

void TurnQueue::close() {
  state_->closed = true;
  state_->moved.wake();
}

std::size_t TurnQueue::taken() const {
  return state_->taken;
}

std::size_t TurnQueue::waiting() const {
  return state_->places.size();
}

}  // namespace quillet
