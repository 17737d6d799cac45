// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/X11/ServerWatch.h"

#include <sys/socket.h>

#include <thread>
#include <utility>

namespace quillet {

using std::chrono::steady_clock;

/// Outlives everything, since its thread does.
ServerWatch& ServerWatch::shared() {
  static auto* const watch = new ServerWatch;
  return *watch;
}

ServerWatch::ServerWatch() {
  std::thread([this] { run(); }).detach();
}

void ServerWatch::add(int descriptor) {
  const std::lock_guard lock(mutex_);
  descriptors_.insert(descriptor);
}

void ServerWatch::remove(int descriptor) {
  const std::lock_guard lock(mutex_);
  descriptors_.erase(descriptor);
}

void ServerWatch::begin() {
  const std::lock_guard lock(mutex_);
  if (waits_++ > 0) return;
  due_ = steady_clock::now() + limit;
  if (std::exchange(asleep_, false)) wake_.notify_one();
}

/// The thread finds out by itself, so that a short wait costs no more than a lock.
void ServerWatch::end() {
  const std::lock_guard lock(mutex_);
  --waits_;
}

void ServerWatch::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    if (waits_ == 0) {
      asleep_ = true;
      wake_.wait(lock, [this] { return !asleep_; });
    }
    const auto due = due_;
    if (steady_clock::now() < due) {
      wake_.wait_until(lock, due);
      continue;
    }
    if (waits_ == 0) continue;
    for (const int descriptor : descriptors_) ::shutdown(descriptor, SHUT_RDWR);
    due_ = steady_clock::now() + limit;
  }
}

}  // namespace quillet
