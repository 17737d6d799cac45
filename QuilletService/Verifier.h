// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/async_result.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <deque>
#include <memory>
#include <optional>

#include "QuilletService/Authenticator.h"

namespace quillet {

/// Verifies signatures, the dearest part of most requests. One that comes alone is verified at once, where it is; of
/// several that come together, threads beside the service's own take their share. Use from the thread that `home` runs
/// on.
class Verifier {
 public:
  /// Without threads everything is done at home, one signature a turn.
  Verifier(Executor home, unsigned threads);
  /// Whoever still waits never goes on.
  ~Verifier();
  Verifier(const Verifier&) = delete;
  Verifier& operator=(const Verifier&) = delete;

  /// Whether the check's signature holds. `check` must live until then, and whoever waits can't be cancelled.
  Awaitable<bool> holds(const Authenticator::Check& check);
  /// One for each core but the service's own.
  static unsigned spareCores();

 private:
  using Waiter = boost::asio::async_result<boost::asio::use_awaitable_t<>, void(bool)>::handler_type;
  struct Job {
    const Authenticator::Check* check;
    Waiter waiter;
  };
  void takeTurnLater();
  void takeTurn();
  void handOver(Job job);
  Job next();

  Executor home_;
  unsigned threads_;
  std::deque<Job> waiting_;
  bool turnIsDue_ = false;
  unsigned handedOver_ = 0;
  std::shared_ptr<Verifier*> self_;  ///< Null for what comes back after this.
  std::optional<boost::asio::thread_pool> pool_;
};

}  // namespace quillet
