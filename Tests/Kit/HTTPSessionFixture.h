// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include "QuilletKit/Network/HTTPSession.h"
#include "Tests/Doubles/Files.h"
#include "Tests/Doubles/LoopbackTLS.h"

namespace quillet::test {

struct HTTPSessionTest : testing::Test {
  MainThread main;  // outlives the thread that resumes what waits here
  NetworkThread network;
  HTTPSession session{network.executor()};

  HTTPResponse send(HTTPRequest request) { return main.await(session.send(std::move(request))); }
  std::string failureOf(HTTPRequest request) {
    try {
      return "answered " + std::to_string(send(std::move(request)).status);
    } catch (const TransportError& error) {
      return error.what();
    }
  }
};

/// Reads a request, writes the text and closes.
inline LoopbackServer::Serve answering(std::string text) {
  return [text](LoopbackServer& self, LoopbackServer::Socket socket) -> Awaitable<void> {
    const std::string copy = text;
    co_await self.readRequest(socket);
    co_await LoopbackServer::write(socket, copy);
  };
}

inline Awaitable<void> neverReads(LoopbackServer&, LoopbackServer::Socket socket) {
  co_await LoopbackServer::stall();
  socket.close();
}

/// Listens, but takes no connection and has no room for one to wait: connecting to it never ends.
class FullListener {
 public:
  FullListener() : acceptor_(context_), filler_(context_) {
    const boost::asio::ip::tcp::endpoint any(boost::asio::ip::address_v4::loopback(), 0);
    acceptor_.open(any.protocol());
    acceptor_.bind(any);
    acceptor_.listen(0);
    filler_.connect(acceptor_.local_endpoint());
  }

  boost::asio::ip::tcp::endpoint endpoint() const { return acceptor_.local_endpoint(); }
  HTTPRequest request(const std::string& scheme = "http") const {
    return {"GET", {scheme, "127.0.0.1", std::to_string(port()), "/"}, {}, {}};
  }
  /// A connection is being attempted.
  bool isTried() const {
    std::ostringstream peer;
    peer << std::uppercase << std::hex << " 0100007F:" << port() << " 02 ";
    return readText("/proc/net/tcp").find(peer.str()) != std::string::npos;
  }

 private:
  std::uint16_t port() const { return endpoint().port(); }

  boost::asio::io_context context_;
  boost::asio::ip::tcp::acceptor acceptor_;
  boost::asio::ip::tcp::socket filler_;
};

}  // namespace quillet::test
