// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/beast/core/role.hpp>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

#include "QuilletKit/Async/Task.h"
#include "QuilletKit/Network/Dialer.h"
#include "QuilletKit/Network/ServiceURL.h"

namespace quillet {

/// One outgoing connection, TCP or TLS over it, that Beast can read and write. Lives on the network thread. Pending
/// operations end when `close` is called.
class NetworkStream {
 public:
  using Socket = boost::asio::ip::tcp::socket;
  using TLS = boost::asio::ssl::stream<Socket>;
  using executor_type = Executor;
  using next_layer_type = Socket;

  NetworkStream(const Executor& network, boost::asio::ssl::context& tls, bool secure);

  /// Resolves, connects and, for TLS, shakes hands with the host's name verified. Throws boost::system::system_error,
  /// or TransportError for a certificate that is out of date.
  Awaitable<void> connect(ServiceURL url);
  /// Drops the connection, also one that is still being made.
  void close();
  /// Nothing arrived and the other side hasn't closed: an idle connection that can be used again.
  bool isQuiet();

  executor_type get_executor() { return next_layer().get_executor(); }
  Socket& next_layer() { return secure() ? std::get<TLS>(stream_).next_layer() : std::get<Socket>(stream_); }
  const Socket& next_layer() const { return const_cast<NetworkStream*>(this)->next_layer(); }

  template <typename Token>
  using Result = typename boost::asio::async_result<std::decay_t<Token>,
                                                    void(boost::system::error_code, std::size_t)>::return_type;

  template <typename Buffers, typename Token>
  auto async_read_some(const Buffers& buffers, Token&& token) -> Result<Token> {
    if (secure()) return std::get<TLS>(stream_).async_read_some(buffers, std::forward<Token>(token));
    return std::get<Socket>(stream_).async_read_some(buffers, std::forward<Token>(token));
  }
  template <typename Buffers, typename Token>
  auto async_write_some(const Buffers& buffers, Token&& token) -> Result<Token> {
    if (secure()) return std::get<TLS>(stream_).async_write_some(buffers, std::forward<Token>(token));
    return std::get<Socket>(stream_).async_write_some(buffers, std::forward<Token>(token));
  }

 private:
  bool secure() const { return std::holds_alternative<TLS>(stream_); }
  Awaitable<void> shakeHands(const std::string& host);

  std::variant<Socket, TLS> stream_;
  Dialer dialer_;
};

/// The end of a WebSocket drops the connection: what mattered was said by the close frames.
void teardown(boost::beast::role_type role, NetworkStream& stream, boost::system::error_code& error);
template <typename Handler>
void async_teardown(boost::beast::role_type role, NetworkStream& stream, Handler&& handler) {
  boost::system::error_code error;
  teardown(role, stream, error);
  boost::asio::post(stream.get_executor(), [done = std::forward<Handler>(handler), error]() mutable { done(error); });
}

/// What a failed connection is called in front of people.
std::string describeNetworkError(const boost::system::error_code& error);

}  // namespace quillet
