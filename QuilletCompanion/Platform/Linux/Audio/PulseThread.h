// SPDX-License-Identifier: MIT
#pragma once

#include <future>
#include <memory>
#include <mutex>
#include <thread>

#include "QuilletCompanion/Platform/Linux/Audio/PulseConnection.h"
#include "QuilletCompanion/Platform/Linux/Audio/SoundLoop.h"
#include "QuilletKit/Async/Task.h"

namespace quillet {

/// What belongs to the sound thread. Held by everything that uses it there, so that a thread that hangs can be left
/// behind.
class PulseCore {
 public:
  explicit PulseCore(Executor mainThread) : mainThread_(std::move(mainThread)) {}

  SoundLoop loop;
  PulseConnection connection{loop};

  /// Runs something on the main thread, unless that may be gone.
  void tell(std::function<void()> news);
  void abandon();

 private:
  Executor mainThread_;
  std::mutex lock_;
  bool abandoned_ = false;
};

/// The thread that talks with the sound server; started at first need. Nothing here waits for the server but the
/// destructor, for a second and a half at most. Main thread only.
class PulseThread {
 public:
  explicit PulseThread(Executor mainThread);
  ~PulseThread();
  PulseThread(const PulseThread&) = delete;
  PulseThread& operator=(const PulseThread&) = delete;

  const std::shared_ptr<PulseCore>& core() const { return core_; }
  /// Adds a job to those of the thread.
  void post(SoundLoop::Job job);
  /// The same for coroutines.
  Executor executor();

 private:
  void start();

  std::shared_ptr<PulseCore> core_;
  std::thread thread_;
  std::future<void> ended_;
};

}  // namespace quillet
