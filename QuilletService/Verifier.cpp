// SPDX-License-Identifier: MIT
#include "QuilletService/Verifier.h"

#include <boost/asio/execution/outstanding_work.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/prefer.hpp>
#include <thread>
#include <utility>

namespace quillet {

namespace asio = boost::asio;

namespace {

constexpr unsigned kAheadOfEachThread = 2;  ///< So that none waits for the service to hand it the next one.

}  // namespace

Verifier::Verifier(Executor home, unsigned threads)
    : home_(std::move(home)), threads_(threads), self_(std::make_shared<Verifier*>(this)) {
  if (threads_ > 0) pool_.emplace(threads_);
}

Verifier::~Verifier() {
  *self_ = nullptr;
  if (pool_) pool_->join();
}

unsigned Verifier::spareCores() {
  const unsigned cores = std::thread::hardware_concurrency();
  return cores > 1 ? cores - 1 : 0;
}

Awaitable<bool> Verifier::holds(const Authenticator::Check& check) {
  return asio::async_initiate<const asio::use_awaitable_t<>, void(bool)>(
      [this, &check](auto resume) {
        waiting_.push_back({&check, std::move(resume)});
        takeTurnLater();
      },
      asio::use_awaitable);
}

/// Behind what the loop has found ready by now, which may be more of the same.
void Verifier::takeTurnLater() {
  if (std::exchange(turnIsDue_, true)) return;
  asio::post(home_, [self = self_] {
    if (*self != nullptr) (*self)->takeTurn();
  });
}

void Verifier::takeTurn() {
  turnIsDue_ = false;
  if (waiting_.empty()) return;
  while (waiting_.size() > 1 && handedOver_ < threads_ * kAheadOfEachThread) handOver(next());
  Job mine = next();
  if (!waiting_.empty()) takeTurnLater();
  const bool holds = mine.check->holds();
  std::move(mine.waiter)(holds);
}

void Verifier::handOver(Job job) {
  ++handedOver_;
  // Counts as work of the home, which would otherwise think that nothing is left to do.
  auto home = asio::prefer(home_, asio::execution::outstanding_work.tracked);
  asio::post(*pool_, [self = self_, home = std::move(home), job = std::move(job)]() mutable {
    const bool holds = job.check->holds();
    asio::post(home, [self, holds, waiter = std::move(job.waiter)]() mutable {
      if (*self == nullptr) return;
      --(*self)->handedOver_;
      std::move(waiter)(holds);
    });
  });
}

Verifier::Job Verifier::next() {
  Job job = std::move(waiting_.front());
  waiting_.pop_front();
  return job;
}

}  // namespace quillet
