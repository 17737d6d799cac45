// SPDX-License-Identifier: MIT
#include "QuilletService/Transport/MetricsServer.h"

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include "QuilletKit/Base/Log.h"
#include "QuilletService/Storage/Database.h"

namespace quillet {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using asio::ip::tcp;
using namespace std::chrono_literals;

constexpr auto kPatience = 5s;
constexpr auto kPauseAfterFailure = 100ms;

}  // namespace

MetricsServer::MetricsServer(asio::io_context& context, std::uint16_t port, std::function<std::string()> text)
    : acceptor_(context, tcp::endpoint(asio::ip::address_v4::loopback(), port)),
      text_(std::move(text)),
      serving_(context.get_executor()) {}

void MetricsServer::start() {
  serving_.start([this] { return serve(); });
}

Awaitable<void> MetricsServer::serve() {
  for (;;) {
    boost::system::error_code error;
    tcp::socket socket(acceptor_.get_executor());
    co_await acceptor_.async_accept(socket, asio::redirect_error(asio::use_awaitable, error));
    if (error == asio::error::operation_aborted) co_return;
    if (!error) co_await answer(std::move(socket));
    if (!error) continue;
    asio::steady_timer pause(acceptor_.get_executor(), kPauseAfterFailure);
    co_await pause.async_wait(asio::use_awaitable);
  }
}

Awaitable<void> MetricsServer::answer(tcp::socket socket) {
  beast::tcp_stream stream(std::move(socket));
  stream.expires_after(kPatience);
  beast::flat_buffer buffer;
  http::request<http::empty_body> request;
  boost::system::error_code error;
  co_await http::async_read(stream, buffer, request, asio::redirect_error(asio::use_awaitable, error));
  if (error) co_return;
  const bool known = request.method() == http::verb::get && request.target() == "/metrics";
  Page answered = known ? page() : Page{404, "There is only /metrics here.\n"};
  http::response<http::string_body> response(static_cast<http::status>(answered.status), 11);
  response.set(http::field::content_type, "text/plain; version=0.0.4");
  response.keep_alive(false);
  response.body() = std::move(answered.text);
  response.prepare_payload();
  co_await http::async_write(stream, response, asio::redirect_error(asio::use_awaitable, error));
  stream.socket().shutdown(tcp::socket::shutdown_send, error);
}

MetricsServer::Page MetricsServer::page() const {
  try {
    return {200, text_()};
  } catch (const DatabaseError& e) {
    Log::error("service", "The metrics failed with database code {}", e.code);
  } catch (const std::exception& e) {
    Log::error("service", "The metrics failed with an exception of type {}", typeid(e).name());
  }
  return {500, "The numbers can't be had at the moment.\n"};
}

}  // namespace quillet
