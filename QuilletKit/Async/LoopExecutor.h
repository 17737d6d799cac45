// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/execution.hpp>
#include <boost/asio/execution_context.hpp>
#include <type_traits>
#include <utility>

namespace quillet {

/// The context of a loop that isn't Asio's. Its owner shuts it down, then destroys it, once no job can come any more.
struct LoopContext : boost::asio::execution_context {
  using execution_context::destroy;
  using execution_context::shutdown;
};

/// Lets coroutines run on a loop that isn't Asio's, whose thread calls what `postOnce` is given once each, in that
/// order and never inside the call. `Loop` has that function template, for jobs that can't be copied, and a
/// `context()`.
template <typename Loop>
class LoopExecutor {
 public:
  explicit LoopExecutor(Loop& loop) : loop_(&loop) {}

  template <typename Function>
  void execute(Function&& function) const {
    loop_->postOnce(std::decay_t<Function>(std::forward<Function>(function)));
  }
  boost::asio::execution_context& query(boost::asio::execution::context_t) const noexcept { return loop_->context(); }
  static constexpr boost::asio::execution::blocking_t query(boost::asio::execution::blocking_t) noexcept {
    return boost::asio::execution::blocking.never;
  }
  bool operator==(const LoopExecutor& other) const noexcept { return loop_ == other.loop_; }
  bool operator!=(const LoopExecutor& other) const noexcept { return loop_ != other.loop_; }

 private:
  Loop* loop_;
};

}  // namespace quillet
