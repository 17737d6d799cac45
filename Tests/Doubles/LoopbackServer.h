// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <mutex>
#include <string>
#include <vector>

#include "QuilletKit/Async/Event.h"
#include "QuilletKit/Network/HTTPRequest.h"
#include "QuilletKit/Network/ServiceURL.h"
#include "Tests/Doubles/NetworkThread.h"

namespace quillet::test {

/// A service on 127.0.0.1 with a thread of its own, whose behaviour is a coroutine for each accepted connection.
class LoopbackServer {
 public:
  using Socket = boost::asio::ip::tcp::socket;
  using Request = boost::beast::http::request<boost::beast::http::string_body>;
  using WebSocket = boost::beast::websocket::stream<Socket>;
  using Serve = std::function<Awaitable<void>(LoopbackServer&, Socket)>;

  explicit LoopbackServer(Serve serve)
      : serve_(std::move(serve)), acceptor_(thread_.executor(), {boost::asio::ip::address_v4::loopback(), 0}) {
    boost::asio::co_spawn(thread_.executor(), accept(), [](const std::exception_ptr&) {});
  }

  ~LoopbackServer() { thread_.stop(); }

  HTTPRequest request(const std::string& target, const std::string& method = "GET",
                      const std::string& scheme = "http") const {
    return {method, {scheme, "127.0.0.1", std::to_string(acceptor_.local_endpoint().port()), target}, {}, {}};
  }
  ServiceURL url() const { return request("/").url; }
  Executor executor() { return thread_.executor(); }
  int connections() const { return connections_; }
  std::vector<Request> requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
  }

  // For use inside a behaviour.

  Awaitable<Request> readRequest(Socket& socket) {
    boost::beast::flat_buffer buffer;
    Request request;
    co_await boost::beast::http::async_read(socket, buffer, request, boost::asio::use_awaitable);
    const std::lock_guard lock(mutex_);
    requests_.push_back(request);
    co_return request;
  }
  static Awaitable<void> write(Socket& socket, std::string text) {
    co_await boost::asio::async_write(socket, boost::asio::buffer(text), boost::asio::use_awaitable);
  }
  static std::string answer(int status, const std::string& body) {
    return "HTTP/1.1 " + std::to_string(status) + " Any\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
  }
  Awaitable<WebSocket> upgrade(Socket socket) {
    const Request request = co_await readRequest(socket);
    WebSocket stream(std::move(socket));
    co_await stream.async_accept(request, boost::asio::use_awaitable);
    co_return stream;
  }
  static Awaitable<std::string> readText(WebSocket& stream) {
    boost::beast::flat_buffer buffer;
    co_await stream.async_read(buffer, boost::asio::use_awaitable);
    co_return boost::beast::buffers_to_string(buffer.data());
  }
  static Awaitable<void> stall() {
    Event never;
    co_await never.wait();
  }

 private:
  Awaitable<void> accept() {
    for (;;) {
      Socket socket = co_await acceptor_.async_accept(boost::asio::use_awaitable);
      ++connections_;
      boost::asio::co_spawn(thread_.executor(), serve_(*this, std::move(socket)), [](const std::exception_ptr&) {});
    }
  }

  Serve serve_;
  std::atomic<int> connections_{0};
  mutable std::mutex mutex_;
  std::vector<Request> requests_;
  NetworkThread thread_;
  boost::asio::ip::tcp::acceptor acceptor_;
};

}  // namespace quillet::test
