// SPDX-License-Identifier: MIT
#include "QuilletKit/Async/Event.h"

#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/execution/context.hpp>
#include <boost/asio/execution_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/query.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <map>
#include <mutex>
#include <set>

namespace quillet {

namespace asio = boost::asio;
using boost::system::error_code;

/// Those that wait for one event, in the order in which they came.
struct Event::Waiters {
  /// A suspended coroutine. Owns it: destroyed instead of called, it takes the coroutine along.
  using Sleeper = asio::async_result<asio::use_awaitable_t<>, void(error_code, bool)>::handler_type;
  class Keeper;

  ~Waiters();
  void add(std::uint64_t id, Sleeper sleeper);
  /// `woken` is what the coroutine's wait comes to.
  void resume(std::uint64_t id, error_code error, bool woken);
  void abandon() { std::exchange(sleepers, {}).clear(); }

  std::map<std::uint64_t, Sleeper> sleepers;
  std::uint64_t lastId = 0;
  Keeper* keeper = nullptr;
};

/// Ends all waits with the executor's context: an event may be owned by the very coroutine that waits for it.
class Event::Waiters::Keeper : public asio::execution_context::service {
 public:
  using key_type = Keeper;
  static inline asio::execution_context::id id;

  explicit Keeper(asio::execution_context& context) : service(context) {}
  void add(Waiters& waiters) {
    const std::lock_guard guard(lock_);
    all_.insert(&waiters);
  }
  void remove(Waiters& waiters) {
    const std::lock_guard guard(lock_);
    all_.erase(&waiters);
  }

 private:
  void shutdown() override {
    for (Waiters* waiters = take(); waiters != nullptr; waiters = take()) {
      waiters->keeper = nullptr;
      waiters->abandon();
    }
  }
  Waiters* take() {
    const std::lock_guard guard(lock_);
    return all_.empty() ? nullptr : all_.extract(all_.begin()).value();
  }

  std::mutex lock_;
  std::set<Waiters*> all_;
};

Event::Waiters::~Waiters() {
  if (keeper != nullptr) keeper->remove(*this);
}

void Event::Waiters::add(std::uint64_t id, Sleeper sleeper) {
  if (keeper == nullptr) {
    auto& context = asio::query(asio::get_associated_executor(sleeper), asio::execution::context);
    keeper = &asio::use_service<Keeper>(context);
    keeper->add(*this);
  }
  sleepers.emplace(id, std::move(sleeper));
}

void Event::Waiters::resume(std::uint64_t id, error_code error, bool woken) {
  auto node = sleepers.extract(id);
  if (node.empty()) return;
  const auto executor = asio::get_associated_executor(node.mapped());
  asio::post(executor,
             [sleeper = std::move(node.mapped()), error, woken]() mutable { std::move(sleeper)(error, woken); });
}

Event::Event() : waiters_(std::make_shared<Waiters>()) {}

Event::~Event() {
  waiters_->abandon();
}

void Event::wake() {
  const auto waiters = waiters_;
  while (!waiters->sleepers.empty()) waiters->resume(waiters->sleepers.begin()->first, {}, true);
}

void Event::abandon() {
  const auto waiters = waiters_;
  waiters->abandon();
}

asio::awaitable<bool> Event::wait(std::shared_ptr<Waiters> waiters, std::uint64_t id) {
  return asio::async_initiate<const asio::use_awaitable_t<>, void(error_code, bool)>(
      [](auto sleeper, const std::weak_ptr<Waiters>& weak, std::uint64_t own) {
        const auto list = weak.lock();
        if (!list) return;
        if (auto slot = asio::get_associated_cancellation_slot(sleeper); slot.is_connected()) {
          slot.assign([weak, own](asio::cancellation_type) {
            if (const auto alive = weak.lock()) alive->resume(own, asio::error::operation_aborted, false);
          });
        }
        list->add(own, std::move(sleeper));
      },
      asio::use_awaitable, std::weak_ptr(waiters), id);
}

asio::awaitable<void> Event::wait() {
  co_await wait(waiters_, ++waiters_->lastId);
}

asio::awaitable<bool> Event::waitFor(std::chrono::nanoseconds limit) {
  const std::uint64_t id = ++waiters_->lastId;
  asio::steady_timer timer(co_await asio::this_coro::executor, limit);
  timer.async_wait([weak = std::weak_ptr(waiters_), id](error_code error) {
    if (const auto alive = weak.lock(); alive && !error) alive->resume(id, {}, false);
  });
  co_return co_await wait(waiters_, id);
}

}  // namespace quillet
