// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <thread>

#include "QuilletKit/Async/Task.h"

namespace quillet {

/// Sockets and timers, on a thread of their own. Its end joins the thread; what waits there then never goes on.
class NetworkThread {
 public:
  NetworkThread() : thread_([this] { context_.run(); }) {}
  ~NetworkThread() {
    work_.reset();
    context_.stop();
    thread_.join();
  }
  NetworkThread(const NetworkThread&) = delete;
  NetworkThread& operator=(const NetworkThread&) = delete;

  Executor executor() { return context_.get_executor(); }

 private:
  boost::asio::io_context context_;
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_{context_.get_executor()};
  std::thread thread_;
};

}  // namespace quillet
