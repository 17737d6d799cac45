// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/beast/websocket/ssl.hpp>
#include <list>
#include <memory>
#include <string>

#include "QuilletKit/Base/Log.h"
#include "QuilletService/Transport/ConnectionHost.h"
#include "QuilletService/Transport/Watchdog.h"

namespace quillet {

/// A desktop's relay socket. Frames that come in go to the relay at once; frames that go out queue up to a bound. It
/// owns itself until it is over, and holds little while nothing comes.
template <typename Stream>
class WebSocketSession final : public RelaySocket,
                               public ServerConnection,
                               public std::enable_shared_from_this<WebSocketSession<Stream>> {
 public:
  using Upgrade = boost::beast::http::request<boost::beast::http::string_body>;

  /// Answers the upgrade and serves the socket until it ends. `upgrade` isn't needed any more afterwards.
  static void start(ConnectionHost& host, Stream stream, std::string deviceId, AddressLimiter::Lease lease,
                    const Upgrade& upgrade) {
    const auto session =
        std::make_shared<WebSocketSession>(host, std::move(stream), std::move(deviceId), std::move(lease));
    session->self_ = session;
    session->accept(upgrade);
  }

  WebSocketSession(ConnectionHost& host, Stream stream, std::string deviceId, AddressLimiter::Lease lease)
      : host_(host),
        socket_(std::move(stream)),
        deviceId_(std::move(deviceId)),
        lease_(std::move(lease)),
        watchdog_(socket_.get_executor(), [this] { took(); }) {
    host_.add(*this);
  }
  ~WebSocketSession() override { host_.remove(*this); }

  void send(std::string frame) override {
    if (closing_) return;
    queuedBytes_ += frame.size() + kFrameCost;
    if (queuedBytes_ > host_.limits().relayQueue || stalled()) {
      ++metrics().slowReadersDropped;
      Log::standard("relay", "{} doesn't read its frames; dropped", device().shortId());
      return abort();
    }
    ++metrics().framesOut;
    queue_.push_back(std::move(frame));
    if (queue_.size() == 1) writeNext();
  }

  void close(int closeCode) override {
    if (std::exchange(closing_, true)) return;
    // A limit of our own: the stream's begins only once the close frame's turn to be written has come.
    watchdog_.watch(host_.limits().relayClose);
    socket_.async_close(boost::beast::websocket::close_reason(static_cast<std::uint16_t>(closeCode)),
                        underWay([](boost::system::error_code) {}));
  }

  /// The relay closes the sockets that it knows; one that isn't open yet ends when it would be.
  void finish() override { finishing_ = true; }

  void abort() override {
    closing_ = true;
    boost::system::error_code ignored;
    boost::beast::get_lowest_layer(socket_).close(ignored);
    over();
  }

 private:
  static constexpr std::size_t kFrameCost = 64;  ///< What a queued frame takes beside its text.
  static constexpr std::chrono::seconds kSettleLimit{1};
  static constexpr int kGoingAway = 1001;
  static constexpr std::size_t kLeastRoom = 128,
                               kUsualRoom = 2048;  ///< A ping's, so that an idle desktop costs no more.

  void accept(const Upgrade& upgrade) {
    configure();
    socket_.async_accept(upgrade, underWay([this](boost::system::error_code error) {
                           if (error) return over();
                           opened_ = true;
                           guarded([this] { host_.service().relay.connected(device(), *this); });
                           if (finishing_) close(kGoingAway);
                           readNext();
                         }));
  }

  void configure() {
    namespace websocket = boost::beast::websocket;
    // The stream's own limit on silence would set a timer anew for every frame. Ours doesn't see control frames: a
    // callback for them makes a close that both sides begin at once hang.
    socket_.set_option(websocket::stream_base::timeout{host_.limits().header, websocket::stream_base::none(), false});
    socket_.read_message_max(host_.limits().relayMessage);
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
      if (operations_ > 0) return;
      if (settling_) return self_.reset();
      if (closing_) over();
    };
  }

  /// Ends it soon, but not under whoever is calling.
  void over() {
    if (std::exchange(over_, true)) return;
    boost::asio::post(socket_.get_executor(), [self = this->shared_from_this()] { self->end(); });
  }

  /// Waits for the operations under way, since TLS's refer to the stream until they end. Not for long: a close that
  /// meets a frame that is no UTF-8 leaves the stream waiting for itself, and its handlers are let go with it.
  void end() {
    closing_ = true;
    if (opened_) guarded([this] { host_.service().relay.disconnected(device(), *this); });
    if (operations_ == 0) return self_.reset();
    settling_ = true;
    watchdog_.watch(kSettleLimit);
  }

  /// Something took too long.
  void took() {
    if (!settling_) return abort();
    boost::asio::post(socket_.get_executor(), [self = this->shared_from_this()] { self->self_.reset(); });
  }

  void readNext() {
    if (!closing_) watchdog_.watch(host_.limits().relayIdle);
    readMore();
  }

  // By a callback, since a coroutine that goes on for every frame is a good part of what a frame costs here.
  void readMore() {
    socket_.async_read_some(buffer_.prepare(room()),
                            underWay([this](boost::system::error_code error, std::size_t size) {
                              buffer_.commit(size);
                              didRead(error);
                            }));
  }

  /// As much as the last message took, which is little for one that only pings.
  std::size_t room() const {
    if (buffer_.size() > 0) return std::max(kUsualRoom, buffer_.size());
    return lastSize_ > kLeastRoom ? kUsualRoom : kLeastRoom;
  }

  void didRead(boost::system::error_code error) {
    if (error) {
      over();
    } else if (!socket_.is_message_done()) {
      readMore();
    } else {
      const auto data = buffer_.cdata();
      handle({static_cast<const char*>(data.data()), data.size()});
      lastSize_ = buffer_.size();
      buffer_.consume(lastSize_);
      if (lastSize_ <= kLeastRoom && buffer_.capacity() > kLeastRoom) buffer_.shrink_to_fit();
      readNext();
    }
  }

  void handle(std::string_view frame) {
    ++metrics().framesIn;
    if (closing_) return;  // what a replaced socket still says doesn't count
    if (frame == "ping") return send("pong");
    guarded([&] { host_.service().relay.handleFrame(deviceId_, frame); });
  }

  bool stalled() const {
    return !queue_.empty() && std::chrono::steady_clock::now() - writeBegan_ > host_.limits().relayStall;
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

  Device device() const { return {.id = deviceId_, .platform = DevicePlatform::macos}; }
  Metrics& metrics() { return host_.service().metrics; }

  ConnectionHost& host_;
  boost::beast::websocket::stream<Stream, false> socket_;
  std::string deviceId_;
  AddressLimiter::Lease lease_;
  boost::beast::flat_buffer buffer_;
  std::size_t lastSize_ = 0;
  std::list<std::string> queue_;
  std::size_t queuedBytes_ = 0;
  std::chrono::steady_clock::time_point writeBegan_;
  bool opened_ = false, closing_ = false, finishing_ = false, over_ = false, settling_ = false;
  int operations_ = 0;
  Watchdog watchdog_;
  std::shared_ptr<WebSocketSession> self_;  ///< Until it is over.
};

}  // namespace quillet
