// SPDX-License-Identifier: MIT
#pragma once

#include <QMetaObject>
#include <QObject>
#include <utility>

#include "QuilletKit/Async/LoopExecutor.h"
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
  friend class LoopExecutor<MainLoop>;

  template <typename Work>
  void postOnce(Work work) {
    QMetaObject::invokeMethod(
        &receiver_, [work = std::move(work)]() mutable { std::move(work)(); }, Qt::QueuedConnection);
  }
  boost::asio::execution_context& context() { return context_; }

  LoopContext context_;
  QObject receiver_;
};

}  // namespace quillet
