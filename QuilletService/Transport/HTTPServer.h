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
#include <vector>

#include "QuilletService/AddressLimiter.h"
#include "QuilletService/Router.h"

namespace quillet {

/// Bounds on what a client may keep busy.
struct ServerLimits {
  std::chrono::milliseconds header{15'000};             ///< For the first request's header, TLS included.
  std::chrono::milliseconds idle{60'000};               ///< For each later request's header.
  std::chrono::milliseconds body{60'000};               ///< For a request's body, and for writing a response.
  std::chrono::milliseconds relayIdle{90'000};          ///< A relay socket without a frame.
  std::chrono::milliseconds relayStall{30'000};         ///< One frame that a desktop doesn't take.
  std::chrono::milliseconds relayClose{5'000};          ///< For a relay socket's close, the desktop's answer included.
  std::chrono::milliseconds transcription{340'000};     ///< A transcription stream, from its beginning to its end.
  std::chrono::milliseconds transcriptionIdle{30'000};  ///< A stream whose client says nothing.
  std::size_t relayMessage = 1 << 20;                   ///< One frame of a desktop, in bytes.
  std::size_t relayQueue = 8 << 20;                     ///< Frames that a desktop hasn't taken yet, in bytes.
  std::size_t connections = 50'000;                     ///< In all; 0 for any number.
  std::size_t connectionsPerAddress = 1000;             ///< 0 for any number.
  /// Whose X-Forwarded-For header names the client. Without it the client is who connects.
  std::vector<boost::asio::ip::address> trustedProxies;
};

/// An accepted connection. Names the executor's type: one of any type is copied and asked for every operation.
using ServerSocket = boost::asio::basic_stream_socket<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

struct TLSFiles {
  std::filesystem::path certificate, key;
};

/// An open connection of any kind, as the server sees it.
class ServerConnection {
 public:
  virtual ~ServerConnection() = default;
  /// Ends it, at once when it is between two requests, otherwise after the present one.
  virtual void finish() = 0;
  /// Drops it, whatever it is doing.
  virtual void abort() = 0;
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
  /// After `stop`: drops what hasn't ended by itself.
  void abort();
  std::size_t connections() const { return connections_.size(); }

  boost::asio::ip::tcp::endpoint endpoint() const { return acceptor_.local_endpoint(); }
  std::string url() const;

  // For connections.
  Service& service() { return service_; }
  Router& router() { return router_; }
  const ServerLimits& limits() const { return limits_; }
  void add(ServerConnection& connection) { connections_.insert(&connection); }
  void remove(ServerConnection& connection);
  AddressLimiter& addresses() { return addresses_; }

 private:
  Awaitable<void> accept();
  void admit(ServerSocket socket);
  bool isTrustedProxy(const boost::asio::ip::address& address) const;

  boost::asio::io_context& context_;
  Service& service_;
  Router router_;
  ServerLimits limits_;
  AddressLimiter addresses_;
  std::optional<boost::asio::ssl::context> tls_;
  boost::asio::ip::tcp::acceptor acceptor_;
  Task accepting_;
  std::set<ServerConnection*> connections_;
  bool stopping_ = false;
  std::function<void()> done_;
};

}  // namespace quillet
