// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/beast/websocket/ssl.hpp>
#include <deque>
#include <memory>
#include <string>

#include "QuilletKit/Async/Event.h"
#include "QuilletKit/Base/Log.h"
#include "QuilletKit/Network/ReadMessage.h"
#include "QuilletService/Transport/ConnectionHost.h"
#include "QuilletService/Transport/Watchdog.h"

namespace quillet {

/// A desktop's relay socket. Frames that come in go to the relay at once; frames that go out queue up to a bound.
template <typename Stream>
class WebSocketSession final : public RelaySocket, public std::enable_shared_from_this<WebSocketSession<Stream>> {
 public:
  using Upgrade = boost::beast::http::request<boost::beast::http::string_body>;

  WebSocketSession(Stream stream, Service& service, Device device, const ServerLimits& limits)
      : socket_(std::move(stream)),
        service_(service),
        device_(std::move(device)),
        limits_(limits),
        idle_(socket_.get_executor(), [this] { abort(); }) {}

  /// Answers the upgrade and serves the socket until it ends. The caller holds the session until then.
  Awaitable<void> run(Upgrade upgrade) {
    boost::system::error_code error;
    configure();
    co_await socket_.async_accept(upgrade, boost::asio::redirect_error(boost::asio::use_awaitable, error));
    if (error) co_return;
    guarded([this] { service_.relay.connected(device_, *this); });
    readNext();
    while (!over_) co_await news_.wait();
    closing_ = true;
    guarded([this] { service_.relay.disconnected(device_, *this); });
    co_await settle();
  }

  void send(std::string frame) override {
    if (closing_) return;
    queuedBytes_ += frame.size() + kFrameCost;
    if (queuedBytes_ > limits_.relayQueue || stalled()) {
      ++service_.metrics.slowReadersDropped;
      Log::standard("relay", "{} doesn't read its frames; dropped", device_.shortId());
      return abort();
    }
    ++service_.metrics.framesOut;
    queue_.push_back(std::move(frame));
    if (queue_.size() == 1) writeNext();
  }

  void close(int closeCode) override {
    if (std::exchange(closing_, true)) return;
    // A limit of our own: the stream's begins only once the close frame's turn to be written has come.
    idle_.watch(limits_.relayClose);
    socket_.async_close(boost::beast::websocket::close_reason(static_cast<std::uint16_t>(closeCode)),
                        underWay([](boost::system::error_code) {}));
  }

  void abort() {
    closing_ = true;
    boost::system::error_code ignored;
    boost::beast::get_lowest_layer(socket_).close(ignored);
    over();
  }

 private:
  static constexpr std::size_t kFrameCost = 64;  ///< What a queued frame takes beside its text.
  static constexpr std::chrono::seconds kSettleLimit{1};

  void configure() {
    namespace websocket = boost::beast::websocket;
    // The stream's own limit on silence would set a timer anew for every frame. Ours doesn't see control frames: a
    // callback for them makes a close that both sides begin at once hang.
    socket_.set_option(websocket::stream_base::timeout{limits_.header, websocket::stream_base::none(), false});
    socket_.read_message_max(limits_.relayMessage);
    socket_.auto_fragment(false);
    socket_.text(true);
  }

  /// What is called at the end of an operation of the socket.
  template <typename Done>
  auto underWay(Done done) {
    ++operations_;
    return [this, weak = this->weak_from_this(), done](boost::system::error_code error, auto... size) {
      const auto self = weak.lock();
      if (!self) return;
      --operations_;
      done(error, size...);
      if (operations_ == 0 && closing_) over();
    };
  }

  void over() {
    over_ = true;
    news_.wake();
  }

  /// Waits for the operations under way, since TLS's refer to the stream until they end. Not for long: a close that
  /// meets a frame that is no UTF-8 leaves the stream waiting for itself, and its handlers are let go with it.
  Awaitable<void> settle() {
    if (operations_ > 0) co_await news_.waitFor(kSettleLimit);
  }

  void readNext() {
    if (!closing_) idle_.watch(limits_.relayIdle);
    readMore();
  }

  // By a callback, since a coroutine that goes on for every frame is a good part of what a frame costs here.
  void readMore() {
    socket_.async_read_some(roomForMessage(buffer_),
                            underWay([this](boost::system::error_code error, std::size_t size) {
                              buffer_.commit(size);
                              didRead(error);
                            }));
  }

  void didRead(boost::system::error_code error) {
    if (error) {
      over();
    } else if (!socket_.is_message_done()) {
      readMore();
    } else {
      const auto data = buffer_.cdata();
      handle({static_cast<const char*>(data.data()), data.size()});
      buffer_.consume(buffer_.size());
      readNext();
    }
  }

  void handle(std::string_view frame) {
    ++service_.metrics.framesIn;
    if (closing_) return;  // what a replaced socket still says doesn't count
    if (frame == "ping") return send("pong");
    guarded([&] { service_.relay.handleFrame(device_.id, frame); });
  }

  bool stalled() const {
    return !queue_.empty() && std::chrono::steady_clock::now() - writeBegan_ > limits_.relayStall;
  }

  void writeNext() {
    writeBegan_ = std::chrono::steady_clock::now();
    socket_.async_write(boost::asio::buffer(queue_.front()),
                        underWay([this](boost::system::error_code error, std::size_t) {
                          queuedBytes_ -= queue_.front().size() + kFrameCost;
                          queue_.pop_front();
                          if (!error && !queue_.empty()) writeNext();
                        }));
  }

  /// A failing database must not take the socket down with it, nor the process.
  template <typename Step>
  void guarded(Step step) {
    try {
      step();
    } catch (const std::exception& e) {
      Log::error("relay", "A relay step failed with an exception of type {}", typeid(e).name());
    }
  }

  boost::beast::websocket::stream<Stream, false> socket_;
  Service& service_;
  Device device_;
  const ServerLimits& limits_;
  boost::beast::flat_buffer buffer_;
  std::deque<std::string> queue_;
  std::size_t queuedBytes_ = 0;
  std::chrono::steady_clock::time_point writeBegan_;
  bool closing_ = false;
  Watchdog idle_;
  int operations_ = 0;
  bool over_ = false;
  Event news_;  ///< There is something for `run` to look at.
};

}  // namespace quillet
