// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <functional>
#include <string>

#include "QuilletKit/Async/Task.h"

namespace quillet {

/// `GET /metrics` on a port of its own, for this machine alone. One connection at a time, one request each.
class MetricsServer {
 public:
  /// Binds to 127.0.0.1 at once; port 0 takes a free one. `text` makes the page; what it throws is
  /// logged, and answered with 500. Throws boost::system::system_error.
  MetricsServer(boost::asio::io_context& context, std::uint16_t port, std::function<std::string()> text);

  void start();
  std::uint16_t port() const { return acceptor_.local_endpoint().port(); }

 private:
  struct Page {
    unsigned status;
    std::string text;
  };
  Awaitable<void> serve();
  Awaitable<void> answer(boost::asio::ip::tcp::socket socket);
  Page page() const;

  boost::asio::ip::tcp::acceptor acceptor_;
  std::function<std::string()> text_;
  Task serving_;
};

}  // namespace quillet
