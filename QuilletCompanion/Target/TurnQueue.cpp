// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Target/TurnQueue.h"

#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <list>
#include <optional>
#include <utility>

namespace quillet {
namespace {

namespace asio = boost::asio;
using Error = boost::system::error_code;
using Resume = asio::async_result<asio::use_awaitable_t<>, void(Error)>::handler_type;

}  // namespace

struct TurnQueue::State {
  std::list<Waiter*> waiting;
  bool taken = false;
  bool closed = false;

  void passOn();
};

/// Lives in the coroutine that waits.
class TurnQueue::Waiter {
 public:
  Waiter(State& state, Executor executor) : state_(state), executor_(std::move(executor)) {}
  ~Waiter() {
    if (resume_) state_.waiting.remove(this);
    if (granted_) state_.passOn();  // destroyed before it could go on
  }
  Waiter(const Waiter&) = delete;
  Waiter& operator=(const Waiter&) = delete;

  Awaitable<void> wait() {
    co_await asio::async_initiate<const asio::use_awaitable_t<>, void(Error)>(
        [this](auto resume) {
          resume_.emplace(std::move(resume));
          state_.waiting.push_back(this);
          if (auto slot = asio::get_associated_cancellation_slot(*resume_); slot.is_connected()) {
            slot.assign([this](asio::cancellation_type) { end(asio::error::operation_aborted); });
          }
        },
        asio::use_awaitable);
    granted_ = false;
  }
  /// The turn is its own, or with an error nothing is. Goes on from the event loop.
  void end(Error error) {
    if (!resume_) return;
    state_.waiting.remove(this);
    granted_ = !error;
    asio::post(executor_, [error, resume = *std::exchange(resume_, std::nullopt)]() mutable {
      asio::get_associated_cancellation_slot(resume).clear();
      std::move(resume)(error);
    });
  }

 private:
  State& state_;
  Executor executor_;
  std::optional<Resume> resume_;
  bool granted_ = false;
};

void TurnQueue::State::passOn() {
  taken = !waiting.empty();
  if (taken) waiting.front()->end({});
}

TurnQueue::Turn& TurnQueue::Turn::operator=(Turn&& other) noexcept {
  if (this != &other) {
    end();
    state_ = std::move(other.state_);
  }
  return *this;
}

void TurnQueue::Turn::end() {
  if (const auto state = std::exchange(state_, nullptr)) state->passOn();
}

TurnQueue::TurnQueue() : state_(std::make_shared<State>()) {}

TurnQueue::~TurnQueue() {
  close();
}

Awaitable<TurnQueue::Turn> TurnQueue::next() {
  const auto state = state_;
  const auto closed = boost::system::system_error(asio::error::operation_aborted);
  if (state->closed) throw closed;
  if (state->taken) co_await Waiter(*state, co_await asio::this_coro::executor).wait();
  if (state->closed) throw closed;
  state->taken = true;
  co_return Turn(state);
}

void TurnQueue::close() {
  state_->closed = true;
  while (!state_->waiting.empty()) state_->waiting.front()->end(asio::error::operation_aborted);
}

}  // namespace quillet
