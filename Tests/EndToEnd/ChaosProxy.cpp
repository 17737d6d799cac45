// SPDX-License-Identifier: MIT
#include "Tests/EndToEnd/ChaosProxy.h"

#include <boost/asio/redirect_error.hpp>

namespace quillet::test {
namespace {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;

Awaitable<void> sleep(std::chrono::milliseconds duration) {
  asio::steady_timer timer(co_await asio::this_coro::executor, duration);
  co_await timer.async_wait(asio::use_awaitable);
}

}  // namespace

struct ChaosProxy::Link {
  Link(LoopbackServer::Socket near, LoopbackServer::Socket far) : desktop(std::move(near)), service(std::move(far)) {}
  void cut() {
    boost::system::error_code ignored;
    desktop.next_layer().close(ignored);
    service.next_layer().close(ignored);
  }
  WebSocket desktop, service;
};

ChaosProxy::ChaosProxy(std::uint32_t seed, asio::ip::tcp::endpoint service, Odds odds)
    : random_(seed),
      service_(std::move(service)),
      odds_(odds),
      server_(
          [this](LoopbackServer& server, LoopbackServer::Socket socket) { return serve(server, std::move(socket)); }) {}

HTTPRequest ChaosProxy::through(HTTPRequest request) const {
  request.url.port = server_.url().port;
  return request;
}

Awaitable<void> ChaosProxy::serve(LoopbackServer& server, LoopbackServer::Socket socket) {
  const auto request = co_await server.readRequest(socket);
  LoopbackServer::Socket far(co_await asio::this_coro::executor);
  co_await far.async_connect(service_, asio::use_awaitable);
  const auto link = std::make_shared<Link>(std::move(socket), std::move(far));
  if (!co_await connect(*link, request)) co_return;
  for (const bool down : {true, false}) {
    asio::co_spawn(co_await asio::this_coro::executor, pump(link, down),
                   [link](const std::exception_ptr&) { link->cut(); });
  }
}

Awaitable<bool> ChaosProxy::connect(Link& link, LoopbackServer::Request request) {
  link.service.set_option(websocket::stream_base::decorator([&](websocket::request_type& upgrade) {
    for (const auto& field : request) {
      if (field.name() == boost::beast::http::field::unknown) upgrade.set(field.name_string(), field.value());
    }
  }));
  websocket::response_type answer;
  boost::system::error_code error;
  co_await link.service.async_handshake(answer, std::string(request[boost::beast::http::field::host]),
                                        std::string(request.target()),
                                        asio::redirect_error(asio::use_awaitable, error));
  if (error) {
    co_await LoopbackServer::write(link.desktop.next_layer(),
                                   LoopbackServer::answer(static_cast<int>(answer.result_int()), answer.body()));
    co_return false;
  }
  co_await link.desktop.async_accept(request, asio::use_awaitable);
  co_return true;
}

Awaitable<void> ChaosProxy::pump(std::shared_ptr<Link> link, bool down) {
  WebSocket& in = down ? link->service : link->desktop;
  WebSocket& out = down ? link->desktop : link->service;
  for (;;) {
    std::string frame = co_await LoopbackServer::readText(in);
    if (!co_await mistreat(out, std::move(frame), later_[down ? 1 : 0])) co_return;
  }
}

Awaitable<bool> ChaosProxy::mistreat(WebSocket& out, std::string frame, std::deque<std::string>& later) {
  if (happens(odds_.cut)) {
    ++counts_.cut;
    co_await breakOff(out);
    co_return false;
  }
  if (happens(odds_.delay)) {
    ++counts_.delayed;
    co_await sleep(std::chrono::milliseconds(draw(1, 4)));
  }
  if (happens(odds_.drop)) {
    ++counts_.dropped;
    co_return true;
  }
  if (happens(odds_.repeat)) {
    const int copies = draw(1, 4);
    counts_.repeated += copies;
    for (int i = 0; i < copies; ++i) {
      if (happens(0.5)) {
        later.push_back(frame);
      } else {
        co_await forward(out, frame);
      }
    }
  }
  if (happens(odds_.keepForLater)) {
    ++counts_.keptForLater;
    later.push_back(std::move(frame));
  } else {
    co_await forward(out, frame);
  }
  while (!later.empty() && (calm_ || happens(0.6))) {
    const std::string old = std::move(later.front());
    later.pop_front();
    co_await forward(out, old);
  }
  co_return true;
}

Awaitable<void> ChaosProxy::forward(WebSocket& out, const std::string& frame) {
  ++counts_.forwarded;
  const bool fragmented = happens(odds_.fragment);
  if (fragmented) ++counts_.fragmented;
  out.text(true);
  out.auto_fragment(fragmented);
  out.write_buffer_bytes(fragmented ? static_cast<std::size_t>(draw(8, 200)) : 4096);
  co_await out.async_write(asio::buffer(frame), asio::use_awaitable);
}

/// Half of the time after the first bytes of a frame of a hundred.
Awaitable<void> ChaosProxy::breakOff(WebSocket& out) {
  if (happens(0.5)) co_await LoopbackServer::write(out.next_layer(), std::string("\x81\x64{\"type\":", 10));
}

}  // namespace quillet::test
