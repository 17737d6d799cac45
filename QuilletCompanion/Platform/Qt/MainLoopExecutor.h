// SPDX-License-Identifier: MIT
#pragma once

#include <QMetaObject>
#include <QObject>
#include <boost/asio/execution.hpp>
#include <boost/asio/execution_context.hpp>
#include <type_traits>
#include <utility>

#include "QuilletKit/Async/Task.h"

namespace quillet {

/// Lets coroutines run on the thread of Qt's event loop. Construct on the main thread after QCoreApplication. It must
/// outlive every use of its executor, so threads that post to it are joined first; work that is still queued when it
/// is destroyed is dropped without being run.
class MainLoop {
 public:
  MainLoop() = default;
  ~MainLoop();
  MainLoop(const MainLoop&) = delete;
  MainLoop& operator=(const MainLoop&) = delete;

  /// May be used from any thread; what is executed runs on the main thread, in the order of posting, never inside the
  /// call that posted it.
  Executor executor();

 private:
  class Poster;
  struct Context : boost::asio::execution_context {
    using execution_context::destroy;
    using execution_context::shutdown;
  };

  Context context_;
  QObject receiver_;
};

/// The form of the executor that Asio asks for.
class MainLoop::Poster {
 public:
  explicit Poster(MainLoop& loop) : loop_(&loop) {}

  template <typename Function>
  void execute(Function&& function) const {
    QMetaObject::invokeMethod(
        &loop_->receiver_,
        [work = std::decay_t<Function>(std::forward<Function>(function))]() mutable { std::move(work)(); },
        Qt::QueuedConnection);
  }
  boost::asio::execution_context& query(boost::asio::execution::context_t) const noexcept { return loop_->context_; }
  static constexpr boost::asio::execution::blocking_t query(boost::asio::execution::blocking_t) noexcept {
    return boost::asio::execution::blocking.never;
  }
  bool operator==(const Poster& other) const noexcept { return loop_ == other.loop_; }
  bool operator!=(const Poster& other) const noexcept { return loop_ != other.loop_; }

 private:
  MainLoop* loop_;
};

}  // namespace quillet
