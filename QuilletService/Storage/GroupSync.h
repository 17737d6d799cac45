// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/async_result.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <functional>
#include <memory>
#include <vector>

#include "QuilletKit/Async/Task.h"

namespace quillet {

/// Brings a file onto the disk for all who ask at a time with one call, which blocks a thread of its own. Use from the
/// thread that `home` runs on.
class GroupSync {
 public:
  /// `sync` is called on the other thread, once at a time; false when it failed.
  GroupSync(Executor home, std::function<bool()> sync);
  /// Waits for the call under way. Whoever still waits never goes on.
  ~GroupSync();
  GroupSync(const GroupSync&) = delete;
  GroupSync& operator=(const GroupSync&) = delete;

  /// Resumes after a call that began after this one; tells what came of it.
  Awaitable<bool> sync();

 private:
  using Waiter = boost::asio::async_result<boost::asio::use_awaitable_t<>, void(bool)>::handler_type;
  void begin();
  void end(bool done);

  Executor home_;
  std::function<bool()> sync_;
  std::vector<Waiter> served_, next_;  ///< Those of the call under way, and those of the one after it.
  bool running_ = false;
  std::shared_ptr<GroupSync*> self_;  ///< Null for a call that ends after this.
  boost::asio::thread_pool thread_{1};
};

}  // namespace quillet
