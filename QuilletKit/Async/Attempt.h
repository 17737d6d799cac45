// SPDX-License-Identifier: MIT
#pragma once

#include <concepts>
#include <future>
#include <thread>
#include <utility>

#include "QuilletKit/Async/Clock.h"

namespace quillet {

/// A call that may block for ever, on a thread of its own. It is waited for within a bound, and then taken or, by the
/// end of this object, abandoned: the thread is left behind, and a result that still comes is destroyed there.
template <typename Result>
class Attempt {
 public:
  /// Throws std::system_error if no thread can be started.
  template <std::invocable Call>
  explicit Attempt(Call call) {
    std::packaged_task<Result()> task(std::move(call));
    result_ = task.get_future();
    std::thread(std::move(task)).detach();
  }

  /// False if the call hasn't returned by then.
  bool wait(Duration limit) const { return result_.wait_for(limit) == std::future_status::ready; }
  /// What the call gave or threw, once. Waits for it.
  Result take() { return result_.get(); }

 private:
  std::future<Result> result_;
};

}  // namespace quillet
