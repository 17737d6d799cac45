// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Audio/PulseThread.h"

#include <boost/asio/post.hpp>
#include <utility>

#include "QuilletCompanion/Platform/Linux/Audio/MuffledStreams.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr Duration kPatience = 1s, kLastPatience = 500ms;

}  // namespace

void PulseCore::tell(std::function<void()> news) {
  const std::lock_guard guard(lock_);
  if (!abandoned_) boost::asio::post(mainThread_, std::move(news));
}

void PulseCore::abandon() {
  const std::lock_guard guard(lock_);
  abandoned_ = true;
}

PulseThread::PulseThread(Executor mainThread) : core_(std::make_shared<PulseCore>(std::move(mainThread))) {
  // No route outlives its connection: one that is found then is an earlier run's.
  core_->connection.onConnected = [core = core_.get()] { MuffledStreams::removeStale(core->connection); };
}

PulseThread::~PulseThread() {
  if (!thread_.joinable()) return;
  // What was asked for before this is still done.
  post([core = core_.get()] { core->loop.stop(); });
  if (ended_.wait_for(kPatience) != std::future_status::ready) core_->loop.stop();
  if (ended_.wait_for(kLastPatience) == std::future_status::ready) {
    thread_.join();
    core_->loop.dropJobs();
  } else {
    thread_.detach();
  }
  core_->abandon();
}

void PulseThread::post(SoundLoop::Job job) {
  start();
  core_->loop.post(std::move(job));
}

Executor PulseThread::executor() {
  start();
  return core_->loop.executor();
}

void PulseThread::start() {
  if (thread_.joinable()) return;
  std::promise<void> end;
  ended_ = end.get_future();
  thread_ = std::thread([core = core_, end = std::move(end)]() mutable {
    core->loop.run();
    end.set_value();
  });
}

}  // namespace quillet
