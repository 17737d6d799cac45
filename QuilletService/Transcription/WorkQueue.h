// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/steady_timer.hpp>
#include <cstddef>
#include <list>
#include <utility>

#include "QuilletKit/Async/Task.h"

namespace quillet {

/// So many works at once, so many more that wait for their turn, in order; no others. One thread.
class WorkQueue {
 public:
  /// The right to work, until it goes.
  class Turn {
   public:
    Turn(Turn&& other) noexcept : queue_(std::exchange(other.queue_, nullptr)) {}
    Turn& operator=(Turn&&) = delete;
    ~Turn() {
      if (queue_ != nullptr) queue_->release();
    }

   private:
    friend class WorkQueue;
    explicit Turn(WorkQueue& queue) : queue_(&queue) {}
    WorkQueue* queue_;
  };

  WorkQueue(Executor executor, std::size_t atOnce, std::size_t waiting)
      : executor_(std::move(executor)), atOnce_(atOnce), places_(waiting) {}

  /// Nobody more may wait.
  bool full() const { return working_ >= atOnce_ && waiting_.size() >= places_; }
  /// Suspends until it is this one's turn; not to be called while it is full. Throws the cancellation when cancelled.
  Awaitable<Turn> take();
  std::size_t working() const { return working_; }
  std::size_t waiting() const { return waiting_.size(); }

 private:
  struct Waiter {
    explicit Waiter(const Executor& executor) : called(executor, boost::asio::steady_timer::time_point::max()) {}
    boost::asio::steady_timer called;
    bool itsTurn = false;
  };
  void release();

  Executor executor_;
  std::size_t atOnce_, places_;
  std::size_t working_ = 0;
  std::list<Waiter*> waiting_;
};

}  // namespace quillet
