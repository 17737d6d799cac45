// SPDX-License-Identifier: MIT
#include "QuilletKit/Async/Task.h"

#include <boost/asio/error.hpp>
#include <cstdlib>

#include "QuilletKit/Base/Log.h"

namespace quillet {
namespace {

[[noreturn]] void fatal(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const std::exception& e) {
    Log::error("relay", "A task ended in an unexpected exception of type {}", typeid(e).name());
  } catch (...) {
    Log::error("relay", "A task ended in an unexpected exception");
  }
  std::abort();
}

}  // namespace

bool isCancellation(const std::exception& error) noexcept {
  const auto* system = dynamic_cast<const boost::system::system_error*>(&error);
  return system != nullptr && system->code() == boost::asio::error::operation_aborted;
}

bool isCancellation(const std::exception_ptr& error) noexcept {
  if (!error) return false;
  try {
    std::rethrow_exception(error);
  } catch (const std::exception& e) {
    return isCancellation(e);
  } catch (...) {
    return false;
  }
}

void Task::cancel() {
  // A copy: what is cancelled may destroy this task.
  if (const auto state = state_; state && !state->finished && !std::exchange(state->cancelled, true)) {
    // Before the first step there is nobody to catch what a cancelled suspension throws.
    if (state->begun) state->signal.emit(boost::asio::cancellation_type::terminal);
  }
}

Awaitable<void> Task::Token::wait(std::shared_ptr<State> state) {
  for (; state; state = state->before) {
    while (!state->finished) co_await state->ended.wait();
  }
}

void Task::Completion::operator()(const std::exception_ptr& error) const {
  state->finish();
  if (error && !isCancellation(error)) fatal(error);
}

void startDetached(const Executor& executor, std::function<Awaitable<void>()> body) {
  auto run = [](std::function<Awaitable<void>()> work) -> Awaitable<void> { co_await work(); };
  boost::asio::co_spawn(executor, run(std::move(body)), [](const std::exception_ptr& error) {
    if (error && !isCancellation(error)) fatal(error);
  });
}

}  // namespace quillet
