// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <functional>
#include <optional>
#include <string>

#include "QuilletService/Transport/ConnectionHost.h"
#include "QuilletService/Transport/DescriptorReserve.h"

namespace quillet {

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
  std::size_t connections() const { return host_.count(); }
  /// Addresses that have a connection or a request under way.
  std::size_t addresses() { return host_.addresses().addresses(); }

  boost::asio::ip::tcp::endpoint endpoint() const { return acceptor_.local_endpoint(); }
  std::string url() const;

 private:
  Awaitable<void> accept();
  void admit(ServerSocket socket);
  bool isTrustedProxy(const boost::asio::ip::address& address) const;

  boost::asio::io_context& context_;
  ConnectionHost host_;
  std::optional<boost::asio::ssl::context> tls_;
  boost::asio::ip::tcp::acceptor acceptor_;
  DescriptorReserve reserve_;
  Task accepting_;
  bool stopping_ = false;
};

}  // namespace quillet
