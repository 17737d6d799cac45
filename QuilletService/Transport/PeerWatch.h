// SPDX-License-Identifier: MIT
#pragma once

#include <sys/epoll.h>

#include <boost/asio/posix/stream_descriptor.hpp>
#include <functional>
#include <memory>
#include <utility>

namespace quillet {

/// Notices while a request is worked on that nobody waits for its answer any more. Reads nothing: what a client sends
/// ahead, as the record with which it closes TLS, stays where it is. Where the system refuses a watch nothing is
/// noticed.
class PeerWatch {
 public:
  /// `gone` is called at most once, on the executor. The socket outlives this.
  template <typename Executor>
  PeerWatch(const Executor& executor, int socket, std::function<void()> gone) : ends_(executor) {
    // Of its own, since the executor's own waits are for bytes, which would wake it over and over.
    const int ends = ::epoll_create1(EPOLL_CLOEXEC);
    if (ends < 0) return;
    ends_.assign(ends);
    epoll_event end{EPOLLRDHUP, {}};
    if (::epoll_ctl(ends, EPOLL_CTL_ADD, socket, &end) < 0) return;
    *gone_ = std::move(gone);
    ends_.async_wait(ends_.wait_read, [gone = gone_](boost::system::error_code) {
      if (*gone) std::exchange(*gone, nullptr)();
    });
  }
  ~PeerWatch() { *gone_ = nullptr; }
  PeerWatch(const PeerWatch&) = delete;
  PeerWatch& operator=(const PeerWatch&) = delete;

 private:
  std::shared_ptr<std::function<void()>> gone_ = std::make_shared<std::function<void()>>();
  boost::asio::posix::stream_descriptor ends_;
};

}  // namespace quillet
