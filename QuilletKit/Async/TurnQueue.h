// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>

#include "QuilletKit/Async/Task.h"

namespace quillet {

/// Lets in so many at a time, in the order of asking. One thread.
class TurnQueue {
  struct State;

 public:
  /// Ends with its destruction, and the next one's begins from the event loop. May outlive the queue.
  class Turn {
   public:
    Turn(Turn&&) noexcept = default;
    Turn& operator=(Turn&& other) noexcept;
    ~Turn() { end(); }

   private:
    friend class TurnQueue;
    explicit Turn(std::shared_ptr<State> state) : state_(std::move(state)) {}
    void end();

    std::shared_ptr<State> state_;
  };

  explicit TurnQueue(std::size_t atOnce);
  /// Who still waits ends as cancelled.
  ~TurnQueue();
  TurnQueue(const TurnQueue&) = delete;
  TurnQueue& operator=(const TurnQueue&) = delete;

  /// Waits until a turn is free and nobody came earlier. One who is cancelled meanwhile leaves the queue.
  Awaitable<Turn> next();
  /// Ends all who wait, and who will ask, as cancelled operations end.
  void close();
  std::size_t taken() const;
  std::size_t waiting() const;

 private:
  std::shared_ptr<State> state_;
};

}  // namespace quillet
