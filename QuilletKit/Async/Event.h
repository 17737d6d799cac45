// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <chrono>
#include <cstdint>
#include <memory>

namespace quillet {

/// Wakes whoever waits. Keeps nothing: who comes after a `wake` waits for the next one, so state that says what
/// happened stands beside it. Whoever still waits when it is destroyed, or its executor's context, never goes on; its
/// coroutine is destroyed. One thread.
class Event {
 public:
  Event();
  ~Event();
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  /// All that wait now go on, each by way of its own executor's queue.
  void wake();
  /// Those that wait never go on.
  void abandon();
  /// Throws boost::system::system_error(operation_aborted) when cancelled.
  boost::asio::awaitable<void> wait();
  /// Waits no longer than `limit` on the real clock; false once that is over. For threads that run sockets: what must
  /// run in virtual time is given a sleep.
  boost::asio::awaitable<bool> waitFor(std::chrono::nanoseconds limit);

 private:
  struct Waiters;
  static boost::asio::awaitable<bool> wait(std::shared_ptr<Waiters> waiters, std::uint64_t id);

  std::shared_ptr<Waiters> waiters_;
};

}  // namespace quillet
