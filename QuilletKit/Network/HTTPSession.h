// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/ssl/context.hpp>
#include <memory>
#include <optional>
#include <string>

#include "QuilletKit/Async/Task.h"
#include "QuilletKit/Network/HTTPRequest.h"
#include "QuilletKit/Network/TransportError.h"

namespace quillet {

class WebSocketTask;

struct HTTPResponse {
  int status = 0;
  std::string body;
};

/// Sends requests over TCP or TLS. Idle connections are used again for a few seconds, those that the service closed
/// meanwhile excepted. Redirects are not followed and nothing is sent twice: a service that has seen a signature
/// refuses it the second time. All sockets live on `network`, an io_context that one thread runs; operations may be
/// awaited from any executor and resume there.
class HTTPSession {
 public:
  explicit HTTPSession(Executor network);
  ~HTTPSession();

  /// Throws TransportError, or the cancellation error when cancelled. The whole exchange is bounded by the request's
  /// timeout; response bodies are limited to 1 MiB. An answer that comes while the body is
  /// still being sent ends the sending, and counts.
  Awaitable<HTTPResponse> send(HTTPRequest request);

  const Executor& network() const { return network_; }
  /// Trusts the system's authorities. Change it before the first request only.
  boost::asio::ssl::context& tls() { return *tls_; }

 private:
  friend std::unique_ptr<WebSocketTask> makeWebSocketTask(HTTPSession&, Executor, HTTPRequest, std::size_t);
  struct Pool;
  class Exchange;

  Executor network_;
  std::shared_ptr<boost::asio::ssl::context> tls_;
  std::shared_ptr<Pool> pool_;
};

}  // namespace quillet
