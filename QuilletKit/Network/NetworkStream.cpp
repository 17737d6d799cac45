// SPDX-License-Identifier: MIT
#include "QuilletKit/Network/NetworkStream.h"

#include <sys/socket.h>

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/http/error.hpp>

#include "QuilletKit/Network/TransportError.h"

namespace quillet {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;
using boost::system::system_error;

bool isAddress(const std::string& host) {
  error_code error;
  asio::ip::make_address(host, error);
  return !error;
}

constexpr const char* kOutOfDate =
    "The service's certificate is out of date, or this computer's clock is wrong. Check the clock.";

bool isOutOfDate(long verification) {
  return verification == X509_V_ERR_CERT_HAS_EXPIRED || verification == X509_V_ERR_CERT_NOT_YET_VALID;
}

std::variant<NetworkStream::Socket, NetworkStream::TLS> makeStream(const Executor& network, asio::ssl::context& tls,
                                                                   bool secure) {
  if (secure) return NetworkStream::TLS(network, tls);
  return NetworkStream::Socket(network);
}

}  // namespace

NetworkStream::NetworkStream(const Executor& network, asio::ssl::context& tls, bool secure)
    : stream_(makeStream(network, tls, secure)), dialer_(network) {}

Awaitable<void> NetworkStream::connect(ServiceURL url) {
  next_layer() = co_await dialer_.dial(url.host, url.effectivePort());
  next_layer().set_option(asio::ip::tcp::no_delay(true));
  if (secure()) co_await shakeHands(url.host);
}

Awaitable<void> NetworkStream::shakeHands(const std::string& host) {
  TLS& tls = std::get<TLS>(stream_);
  if (!isAddress(host) && SSL_set_tlsext_host_name(tls.native_handle(), host.c_str()) != 1) {
    throw system_error(asio::error::invalid_argument);
  }
  tls.set_verify_mode(asio::ssl::verify_peer);
  tls.set_verify_callback(asio::ssl::host_name_verification(host));
  error_code error;
  co_await tls.async_handshake(TLS::client, asio::redirect_error(asio::use_awaitable, error));
  if (error && isOutOfDate(SSL_get_verify_result(tls.native_handle()))) throw TransportError(kOutOfDate);
  if (error) throw system_error(error);
}

void NetworkStream::close() {
  dialer_.cancel();
  error_code ignored;
  next_layer().close(ignored);
}

bool NetworkStream::isQuiet() {
  char byte = 0;
  const auto count = ::recv(next_layer().native_handle(), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
  return count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
}

void teardown(boost::beast::role_type, NetworkStream& stream, error_code& error) {
  error = {};
  error_code ignored;
  stream.next_layer().shutdown(asio::ip::tcp::socket::shutdown_both, ignored);
  stream.next_layer().close(ignored);
}

std::string describeNetworkError(const error_code& error) {
  if (error == asio::error::host_not_found || error == asio::error::host_not_found_try_again ||
      error == asio::error::no_data || error == asio::error::service_not_found) {
    return "The service's name could not be found.";
  }
  if (error == asio::error::connection_refused) return "The service could not be reached.";
  if (error == asio::error::network_unreachable || error == asio::error::host_unreachable ||
      error == asio::error::network_down) {
    return "There is no connection to the internet.";
  }
  if (error == http::error::body_limit) return "The answer was too long.";
  if (error.category() == asio::error::get_ssl_category()) return "A secure connection could not be made.";
  const bool cut = error == http::error::end_of_stream || error == http::error::partial_message;
  if (!cut && error.category() == http::make_error_code(http::error::bad_version).category()) {
    return "No HTTP response";
  }
  return "The connection was lost.";
}

}  // namespace quillet
