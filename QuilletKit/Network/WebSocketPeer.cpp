// SPDX-License-Identifier: MIT
#include "QuilletKit/Network/WebSocketPeer.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>

#include "QuilletKit/Network/ReadMessage.h"
#include "QuilletKit/Network/TransportError.h"

namespace quillet {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;
using boost::system::error_code;
using boost::system::system_error;

constexpr std::chrono::seconds kCloseBound{2};
constexpr std::size_t kReadAhead = 32;
constexpr int kDropped = 1006;

}  // namespace

WebSocketPeer::WebSocketPeer(const Executor& network, std::shared_ptr<asio::ssl::context> tls, HTTPRequest request,
                             std::size_t maximumMessageSize)
    : network_(network),
      tls_(std::move(tls)),
      request_(std::move(request)),
      stream_(network, *tls_, request_.url.isTLS()),
      deadline_(network) {
  stream_.read_message_max(maximumMessageSize);
}

void WebSocketPeer::start() {
  if (std::exchange(started_, true) || failure_) return;
  limit(request_.timeout, "The request timed out.");
  asio::co_spawn(network_, run(), [self = shared_from_this()](const std::exception_ptr& error) {
    try {
      if (error) std::rethrow_exception(error);
      self->fail("The connection was closed.");
    } catch (const system_error& failure) {
      self->fail(describeNetworkError(failure.code()));
    } catch (const TransportError& failure) {
      self->fail(failure.what());
    }
  });
}

Awaitable<void> WebSocketPeer::run() {
  co_await upgrade();
  upgraded_ = true;
  deadline_.expires_at(asio::steady_timer::time_point::max());
  startWriting();
  co_await read();
}

Awaitable<void> WebSocketPeer::upgrade() {
  co_await stream_.next_layer().connect(request_.url);
  stream_.set_option(websocket::stream_base::decorator([this](websocket::request_type& upgrade) {
    for (const auto& [name, value] : request_.headers) upgrade.set(name, value);
  }));
  websocket::response_type response;
  error_code error;
  co_await stream_.async_handshake(response, request_.url.authority(), request_.url.target,
                                   asio::redirect_error(asio::use_awaitable, error));
  if (error == websocket::error::upgrade_declined) {
    refusedStatus = static_cast<int>(response.result_int());
    throw TransportError("The service refused the connection.");
  }
  if (error) throw system_error(error);
  for (const auto field : {beast::http::field::sec_websocket_extensions, beast::http::field::sec_websocket_protocol}) {
    if (response.find(field) != response.end()) throw TransportError("The service chose what wasn't offered.");
  }
}

Awaitable<void> WebSocketPeer::read() {
  while (!failure_) {
    while (incoming_.size() >= kReadAhead && !failure_ && !closeCode_) co_await room_.wait();
    beast::flat_buffer buffer;
    const error_code error = co_await readMessage(stream_, buffer);
    if (error == websocket::error::closed) co_return;
    if (error) throw system_error(error);
    if (closeCode_) continue;
    incoming_.push_back({stream_.got_text(), beast::buffers_to_string(buffer.data())});
    arrival_.wake();
  }
}

void WebSocketPeer::send(WebSocketMessage message, std::function<void(bool)> written) {
  if (failure_ || closeCode_) return written(false);
  outgoing_.push_back({std::move(message), std::move(written)});
  startWriting();
}

Awaitable<void> WebSocketPeer::sent(std::shared_ptr<WebSocketPeer> self, WebSocketMessage message) {
  const auto initiate = [&self, &message](auto handler) {
    auto shared = std::make_shared<decltype(handler)>(std::move(handler));
    self->send(std::move(message), [network = self->network_, shared](bool success) {
      asio::post(network, [shared, success] { std::move (*shared)(success); });
    });
  };
  const bool success =
      co_await asio::async_initiate<const asio::use_awaitable_t<>, void(bool)>(initiate, asio::use_awaitable);
  if (!success) throw TransportError(self->failure_.value_or("The connection was closed."));
}

void WebSocketPeer::startWriting() {
  if (!upgraded_ || failure_ || std::exchange(writing_, true)) return;
  asio::co_spawn(network_, write(), [self = shared_from_this()](const std::exception_ptr& error) {
    self->writing_ = false;
    if (error) self->fail("The connection was lost.");
    if (!self->outgoing_.empty() || self->closeCode_) self->startWriting();  // what came while it was ending
  });
}

Awaitable<void> WebSocketPeer::write() {
  while (!outgoing_.empty() && !failure_) {
    const Outgoing next = std::move(outgoing_.front());
    outgoing_.pop_front();
    stream_.text(next.message.isText);
    error_code error;
    co_await stream_.async_write(asio::buffer(next.message.data), asio::redirect_error(asio::use_awaitable, error));
    next.written(!error);
    if (error) throw system_error(error);
  }
  if (!closeCode_ || failure_) co_return;
  error_code ignored;
  co_await stream_.async_close(websocket::close_reason(static_cast<std::uint16_t>(*closeCode_)),
                               asio::redirect_error(asio::use_awaitable, ignored));
  fail("The connection was closed.");
}

Awaitable<WebSocketMessage> WebSocketPeer::next(std::shared_ptr<WebSocketPeer> self) {
  while (self->incoming_.empty() && !self->failure_ && !self->closeCode_) {
    co_await self->arrival_.wait();
    if (self->abandoned_) throw system_error(asio::error::operation_aborted);
  }
  if (self->incoming_.empty()) throw TransportError(self->failure_.value_or("The connection was closed."));
  WebSocketMessage message = std::move(self->incoming_.front());
  self->incoming_.pop_front();
  self->room_.wake();
  co_return message;
}

void WebSocketPeer::close(int code, std::shared_ptr<void> untilClosed) {
  if (failure_ || closeCode_) return;
  if (code == kDropped || !upgraded_) return fail("The connection was closed.");
  closeCode_ = code;
  untilClosed_ = std::move(untilClosed);
  incoming_.clear();
  arrival_.wake();
  room_.wake();
  limit(kCloseBound, "The connection was closed.");
  startWriting();
}

void WebSocketPeer::abandon() {
  abandoned_ = true;
  arrival_.wake();
  if (!closeCode_) fail("The connection was closed.");
}

void WebSocketPeer::limit(std::chrono::milliseconds duration, std::string failure) {
  deadline_.expires_after(duration);
  deadline_.async_wait([self = shared_from_this(), failure = std::move(failure)](const error_code& error) {
    // The limit may have been lifted when the timer had gone off already.
    const bool due = self->deadline_.expiry() <= asio::steady_timer::clock_type::now();
    if (!error && due) self->fail(failure);
  });
}

void WebSocketPeer::fail(std::string failure) {
  if (failure_) return;
  failure_ = std::move(failure);
  deadline_.cancel();
  arrival_.wake();
  room_.wake();
  stream_.next_layer().close();
  untilClosed_.reset();
  for (auto& lost : std::exchange(outgoing_, {})) lost.written(false);
}

}  // namespace quillet
