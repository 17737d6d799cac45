// SPDX-License-Identifier: MIT
#include "QuilletService/Transport/HTTPServer.h"

#include <algorithm>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "QuilletKit/Base/Log.h"
#include "QuilletService/Transport/HTTPConnection.h"

namespace quillet {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using namespace std::chrono_literals;

constexpr auto kPauseAfterFailure = 100ms;

tcp::endpoint resolve(asio::io_context& context, const std::string& host, std::uint16_t port) {
  tcp::resolver resolver(context);
  return *resolver.resolve(host, std::to_string(port), tcp::resolver::passive).begin();
}

asio::ssl::context makeTLS(const TLSFiles& files) {
  asio::ssl::context tls(asio::ssl::context::tls_server);
  tls.set_options(asio::ssl::context::default_workarounds | asio::ssl::context::no_tlsv1 |
                  asio::ssl::context::no_tlsv1_1);
  tls.use_certificate_chain_file(files.certificate);
  tls.use_private_key_file(files.key, asio::ssl::context::pem);
  return tls;
}

}  // namespace

HTTPServer::HTTPServer(asio::io_context& context, Service& service, const std::string& host, std::uint16_t port,
                       const std::optional<TLSFiles>& tls, ServerLimits limits)
    : context_(context),
      host_(service, std::move(limits)),
      acceptor_(context, resolve(context, host, port)),
      reserve_(context),
      accepting_(context.get_executor()) {
  if (tls) tls_ = makeTLS(*tls);
}

void HTTPServer::start() {
  accepting_.start([this] { return accept(); });
}

std::string HTTPServer::url() const {
  const auto bound = endpoint();
  const std::string address = bound.address().to_string();
  const std::string host = bound.address().is_v6() ? "[" + address + "]" : address;
  return (tls_ ? "https://" : "http://") + host + ":" + std::to_string(bound.port());
}

Awaitable<void> HTTPServer::accept() {
  while (!stopping_) {
    boost::system::error_code error;
    reserve_.prepare(host_.count());
    ServerSocket socket(context_);
    co_await acceptor_.async_accept(socket, asio::redirect_error(asio::use_awaitable, error));
    if (stopping_ || error == asio::error::operation_aborted) co_return;
    if (error) {  // out of descriptors, as a rule
      Log::standard("service", "Could not accept a connection: {}", error.value());
      asio::steady_timer pause(context_, kPauseAfterFailure);
      co_await pause.async_wait(asio::use_awaitable);
      continue;
    }
    admit(std::move(socket));
  }
}

void HTTPServer::admit(ServerSocket socket) {
  boost::system::error_code error;
  const auto peer = socket.remote_endpoint(error);
  if (error) return;  // gone already
  Metrics& metrics = host_.service().metrics;
  const std::size_t limit = host_.limits().connections;
  if (limit != 0 && host_.count() >= limit) {
    ++metrics.connectionsRefused;
    return;
  }
  const bool proxied = isTrustedProxy(peer.address());
  std::string address = addressKey(peer.address());
  auto lease = proxied ? AddressLimiter::unlimited(std::move(address)) : host_.addresses().take(std::move(address));
  if (!lease) {
    ++metrics.connectionsRefused;
    return;
  }
  ++metrics.connectionsAccepted;
  socket.set_option(tcp::no_delay(true), error);
  startConnection(host_, std::move(socket), {*std::move(lease), proxied}, tls_ ? &*tls_ : nullptr);
}

bool HTTPServer::isTrustedProxy(const asio::ip::address& address) const {
  const auto& trusted = host_.limits().trustedProxies;
  return std::any_of(trusted.begin(), trusted.end(),
                     [peer = unmapped(address)](const auto& proxy) { return unmapped(proxy) == peer; });
}

void HTTPServer::stop(std::function<void()> done) {
  stopping_ = true;
  boost::system::error_code ignored;
  acceptor_.close(ignored);
  host_.finishAll();
  host_.service().hub.shutDown();  // who waited there is answered, and is to know that it is the last answer
  host_.whenEmpty(std::move(done));
}

void HTTPServer::abort() {
  host_.abortAll();
}

}  // namespace quillet
