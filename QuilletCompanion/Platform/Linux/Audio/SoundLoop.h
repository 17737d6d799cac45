// SPDX-License-Identifier: MIT
#pragma once

#include <pulse/mainloop-api.h>
#include <pulse/mainloop.h>

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Async/LoopExecutor.h"

namespace quillet {

/// What the sound thread does: it serves the sound server's streams and, between their callbacks, runs jobs one after
/// the other. A job may wait for the server; the streams go on meanwhile, other jobs don't.
class SoundLoop {
 public:
  using Job = std::function<void()>;

  SoundLoop();
  ~SoundLoop();
  SoundLoop(const SoundLoop&) = delete;
  SoundLoop& operator=(const SoundLoop&) = delete;

  // From any thread.

  void post(Job job);
  /// The same for coroutines.
  Executor executor();
  /// Ends `run` soon, and every wait. Jobs that are left aren't run any more.
  void stop();

  /// After the end of `run`: forgets them, with all that they hold.
  void dropJobs();

  // On the sound thread.

  /// Serves until `stop`.
  void run();
  pa_mainloop_api* api() { return pa_mainloop_get_api(loop_.get()); }
  void later(Duration wait, Job job);
  /// Serves the streams until the condition holds; false if it doesn't in time, or at the end. Within jobs only.
  bool waitUntil(const std::function<bool()>& condition, Duration atMost);

 private:
  friend class LoopExecutor<SoundLoop>;
  struct Free {
    void operator()(pa_mainloop* loop) const { pa_mainloop_free(loop); }
  };

  template <typename Work>
  void postOnce(Work work) {
    post([work = std::make_shared<Work>(std::move(work))] {
      Work once = std::move(*work);
      std::move(once)();
    });
  }
  boost::asio::execution_context& context() { return context_; }

  bool hasPosted();
  void runReady();
  /// Serves the streams once. Waits until then at most, and with `untilJob` no longer than for a job.
  void serve(MonotonicTime until, bool untilJob);

  std::unique_ptr<pa_mainloop, Free> loop_{pa_mainloop_new()};
  std::atomic<bool> stopping_{false};
  std::mutex lock_;
  std::deque<Job> posted_;
  std::multimap<MonotonicTime, Job> later_;  ///< Of the sound thread.
  LoopContext context_;
};

}  // namespace quillet
