// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>

#include "QuilletService/Router.h"

namespace quillet {

/// Bounds on what a client may keep busy.
struct ServerLimits {
  std::chrono::seconds header{15};     ///< For the first request's header, TLS included.
  std::chrono::seconds idle{60};       ///< For each later request's header.
  std::chrono::seconds body{60};       ///< For a request's body, and for writing a response.
  std::chrono::seconds relayIdle{90};  ///< A relay socket without a frame.
  std::size_t relayMessage = 1 << 20;  ///< One frame of a desktop, in bytes.
  std::size_t relayQueue = 8 << 20;    ///< Frames that a desktop hasn't taken yet, in bytes.
};

struct TLSFiles {
  std::filesystem::path certificate, key;
};

/// An open connection of any kind, as the server sees it.
class ServerConnection {
 public:
  virtual ~ServerConnection() = default;
  /// Ends it, at once when it is between two requests, otherwise after the present one.
  virtual void finish() = 0;
};

/// Accepts connections and speaks HTTP/1.1 and WebSocket on them, over TCP or TLS. Everything runs on the one thread
/// of `context`.
class HTTPServer {
 public:
  /// Binds at once. Port 0 takes a free one. Throws boost::system::system_error.
  HTTPServer(boost::asio::io_context& context, Service& service, const std::string& host, std::uint16_t port,
             const std::optional<TLSFiles>& tls = {}, ServerLimits limits = {});

  void start();
  /// Accepts no more, closes the relay sockets and ends the connections. `done` is called when the last is gone.
  void stop(std::function<void()> done);

  boost::asio::ip::tcp::endpoint endpoint() const { return acceptor_.local_endpoint(); }
  std::string url() const;

  // For connections.
  Service& service() { return service_; }
  Router& router() { return router_; }
  const ServerLimits& limits() const { return limits_; }
  void add(ServerConnection& connection) { connections_.insert(&connection); }
  void remove(ServerConnection& connection);
  bool stopping() const { return stopping_; }

 private:
  Awaitable<void> accept();

  boost::asio::io_context& context_;
  Service& service_;
  Router router_;
  ServerLimits limits_;
  std::optional<boost::asio::ssl::context> tls_;
  boost::asio::ip::tcp::acceptor acceptor_;
  Task accepting_;
  std::set<ServerConnection*> connections_;
  bool stopping_ = false;
  std::function<void()> done_;
};

}  // namespace quillet
