// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "QuilletKit/Async/Event.h"
#include "QuilletKit/Network/HTTPRequest.h"
#include "QuilletKit/Network/NetworkStream.h"
#include "QuilletKit/Network/WebSocketMessage.h"

namespace quillet {

/// The network thread's half of a WebSocketTask. Everything but `refusedStatus` is for that thread only. Keeps itself
/// alive while operations are pending.
class WebSocketPeer : public std::enable_shared_from_this<WebSocketPeer> {
 public:
  WebSocketPeer(const Executor& network, std::shared_ptr<boost::asio::ssl::context> tls, HTTPRequest request,
                std::size_t maximumMessageSize);

  void start();
  /// `written` is called on the network thread, once.
  void send(WebSocketMessage message, std::function<void(bool)> written);
  /// As `send`, ending once that is written. Throws TransportError if it wasn't.
  static Awaitable<void> sent(std::shared_ptr<WebSocketPeer> self, WebSocketMessage message);
  static Awaitable<WebSocketMessage> next(std::shared_ptr<WebSocketPeer> self);
  /// Later calls change nothing. `untilClosed` is let go once all that was sent before has left, or never will.
  void close(int code, std::shared_ptr<void> untilClosed = nullptr);
  /// Nobody listens any more: drops the connection, unless it is being closed politely.
  void abandon();

  std::atomic<int> refusedStatus{0};  ///< 0 while there is none. Any thread.

 private:
  struct Outgoing {
    WebSocketMessage message;
    std::function<void(bool)> written;
  };

  Awaitable<void> run();
  Awaitable<void> upgrade();
  Awaitable<void> read();
  Awaitable<void> write();
  void startWriting();
  void limit(std::chrono::milliseconds duration, std::string failure);
  /// Ends it for good: what waits is told, the connection is dropped.
  void fail(std::string failure);

  Executor network_;
  std::shared_ptr<boost::asio::ssl::context> tls_;
  HTTPRequest request_;
  boost::beast::websocket::stream<NetworkStream> stream_;
  boost::asio::steady_timer deadline_;
  Event arrival_;  ///< Of a message, or of the end.
  Event room_;     ///< For another message.
  std::deque<Outgoing> outgoing_;
  std::deque<WebSocketMessage> incoming_;
  std::optional<std::string> failure_;
  std::optional<int> closeCode_;
  std::shared_ptr<void> untilClosed_;
  bool started_ = false;
  bool upgraded_ = false;
  bool writing_ = false;
  bool abandoned_ = false;
};

}  // namespace quillet
