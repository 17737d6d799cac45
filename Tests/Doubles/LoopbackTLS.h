// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/ssl.hpp>
#include <string>

#include "Tests/Doubles/LoopbackServer.h"
#include "Tests/Doubles/SelfSigned.h"

namespace quillet::test {

/// A TLS service on "localhost" with a self-signed certificate for any name and time. Answers "secret" to one request
/// for each connection.
class LoopbackTLS {
 public:
  /// The certificate is good between two moments, counted from now.
  explicit LoopbackTLS(const std::string& certificateName, std::chrono::seconds from = std::chrono::hours(-1),
                       std::chrono::seconds until = std::chrono::hours(1))
      : made_("DNS:" + certificateName, from, until) {
    context_.use_certificate_chain(boost::asio::buffer(made_.certificate));
    context_.use_private_key(boost::asio::buffer(made_.key), boost::asio::ssl::context::pem);
  }

  const std::string& certificate() const { return made_.certificate; }
  HTTPRequest request() const {
    HTTPRequest made = server_.request("/", "GET", "https");
    made.url.host = "localhost";
    return made;
  }

 private:
  LoopbackServer::Serve serve() {
    return [this](LoopbackServer&, LoopbackServer::Socket socket) -> Awaitable<void> {
      boost::asio::ssl::stream<LoopbackServer::Socket> stream(std::move(socket), context_);
      co_await stream.async_handshake(boost::asio::ssl::stream_base::server, boost::asio::use_awaitable);
      boost::beast::flat_buffer buffer;
      LoopbackServer::Request request;
      co_await boost::beast::http::async_read(stream, buffer, request, boost::asio::use_awaitable);
      const std::string answer = LoopbackServer::answer(200, "secret");
      co_await boost::asio::async_write(stream, boost::asio::buffer(answer), boost::asio::use_awaitable);
    };
  }

  SelfSigned made_;
  boost::asio::ssl::context context_{boost::asio::ssl::context::tls_server};
  LoopbackServer server_{serve()};
};

}  // namespace quillet::test
