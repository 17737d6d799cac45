// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "QuilletKit/Async/Task.h"

namespace quillet::test {

/// An operation under way in a task.
struct Attempt {
  explicit Attempt(const Executor& executor, std::function<Awaitable<void>()> operation = nullptr) : task(executor) {
    if (operation) start(std::move(operation));
  }
  void start(std::function<Awaitable<void>()> operation) {
    begun = false;
    outcome.clear();
    task.start([this, operation = std::move(operation)]() -> Awaitable<void> {
      begun = true;
      try {
        co_await operation();
        outcome = "done";
      } catch (const std::exception& error) {
        outcome = isCancellation(error) ? "cancelled" : error.what();
      }
    });
  }

  bool isOver() const { return !outcome.empty(); }

  bool begun = false;
  std::string outcome;  ///< How it ended: "done", "cancelled" or its error's text; empty until then.
  Task task;
};

}  // namespace quillet::test
