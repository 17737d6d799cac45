// SPDX-License-Identifier: MIT
#pragma once

#include <sys/socket.h>

#include <functional>
#include <memory>
#include <utility>

namespace quillet {

/// Notices while a request is worked on that nobody waits for its answer any more. Reads nothing: what a client sends
/// ahead stays where it is, and ends the watch.
template <typename Socket>
class PeerWatch {
 public:
  /// `gone` is called at most once, on the socket's executor. Nothing else may be under way on the socket.
  PeerWatch(Socket& socket, std::function<void()> gone) : socket_(socket) {
    state_->gone = std::move(gone);
    socket.async_wait(Socket::wait_read, [state = state_, &socket](boost::system::error_code error) {
      if (state->gone && (error || isOver(socket.native_handle()))) std::exchange(state->gone, nullptr)();
    });
  }
  ~PeerWatch() {
    state_->gone = nullptr;
    boost::system::error_code ignored;
    socket_.cancel(ignored);
  }
  PeerWatch(const PeerWatch&) = delete;
  PeerWatch& operator=(const PeerWatch&) = delete;

 private:
  struct State {
    std::function<void()> gone;
  };

  /// A client that closes TLS says so in a record of its own before the connection ends.
  static bool isOver(int descriptor) {
    constexpr unsigned char kAlert = 21;
    unsigned char first = 0;
    const auto count = ::recv(descriptor, &first, 1, MSG_PEEK | MSG_DONTWAIT);
    return count <= 0 || first == kAlert;
  }

  Socket& socket_;
  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace quillet
