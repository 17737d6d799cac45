// SPDX-License-Identifier: MIT
#include "QuilletKit/Network/HTTPSession.h"

#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>
#include <chrono>
#include <map>
#include <vector>

#include "QuilletKit/Async/Event.h"
#include "QuilletKit/Async/RunOn.h"
#include "QuilletKit/Network/NetworkStream.h"

namespace quillet {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;
using boost::system::system_error;

constexpr std::uint64_t kBodyLimit = 1024 * 1024;
constexpr std::uint32_t kHeaderLimit = 64 * 1024;
constexpr std::size_t kKeptPerService = 4;
constexpr std::chrono::seconds kKeptFor{10};

/// On the wall clock, which goes on while the machine sleeps: what was kept before a sleep is too old after it.
using KeptClock = std::chrono::system_clock;
using Connection = std::unique_ptr<NetworkStream>;
using Parser = http::response_parser<http::string_body>;

http::request<http::string_body> wireRequest(HTTPRequest& request) {
  http::request<http::string_body> wire;
  wire.method_string(request.method);
  wire.target(request.url.target);
  wire.version(11);
  wire.set(http::field::host, request.url.authority());
  for (const auto& [name, value] : request.headers) wire.set(name, value);
  wire.body() = std::move(request.body);
  wire.prepare_payload();
  return wire;
}

std::string serviceKey(const ServiceURL& url) {
  return (url.isTLS() ? "tls " : "tcp ") + url.host + " " + url.effectivePort();
}

}  // namespace

/// Idle connections by service. Network thread only.
struct HTTPSession::Pool {
  struct Kept {
    Connection connection;
    KeptClock::time_point since;
  };
  std::map<std::string, std::vector<Kept>> idle;

  Connection take(const std::string& service) {
    auto& kept = idle[service];
    while (!kept.empty()) {
      Kept last = std::move(kept.back());
      kept.pop_back();
      const auto age = KeptClock::now() - last.since;
      if (age >= KeptClock::duration::zero() && age < kKeptFor && last.connection->isQuiet()) {
        return std::move(last.connection);
      }
    }
    return nullptr;
  }

  void keep(const std::string& service, Connection connection) {
    auto& kept = idle[service];
    if (kept.size() == kKeptPerService) kept.erase(kept.begin());
    kept.push_back({std::move(connection), KeptClock::now()});
  }
};

/// One request and its answer, on the network thread. Runs by itself, so that nothing that takes long to end keeps its
/// caller waiting.
class HTTPSession::Exchange : public std::enable_shared_from_this<Exchange> {
 public:
  Exchange(const Executor& network, std::shared_ptr<asio::ssl::context> tls, std::shared_ptr<Pool> pool,
           HTTPRequest request)
      : network_(network),
        tls_(std::move(tls)),
        pool_(std::move(pool)),
        timeout_(request.timeout),
        url_(request.url),
        wire_(wireRequest(request)) {}

  static Awaitable<HTTPResponse> perform(std::shared_ptr<Exchange> self) {
    self->launch();
    try {
      if (!self->finished_) co_await self->end_.waitFor(self->timeout_);
    } catch (const system_error&) {
      self->abandon();
      throw;
    }
    if (!self->finished_) {
      self->abandon();
      throw TransportError("The request timed out.");
    }
    if (self->error_) std::rethrow_exception(self->error_);
    co_return std::move(self->response_);
  }

 private:
  void launch() {
    asio::co_spawn(network_, run(),
                   [self = shared_from_this()](const std::exception_ptr& error) { self->finish(error); });
  }

  Awaitable<void> run() {
    if (abandoned_) throw system_error(asio::error::operation_aborted);
    connection_ = pool_->take(serviceKey(url_));
    if (!connection_) {
      connection_ = std::make_unique<NetworkStream>(network_, *tls_, url_.isTLS());
      co_await connection_->connect(url_);
    }
    co_await converse();
  }

  /// The answer counts from its first byte on, also when it comes while the body is still being sent, or after which
  /// the service takes no more of it.
  Awaitable<void> converse() {
    if (abandoned_) throw system_error(asio::error::operation_aborted);
    asio::co_spawn(network_, send(), [self = shared_from_this()](const std::exception_ptr& error) {
      self->sending_ = error ? Sending::failed : Sending::done;
      self->sent_.wake();
    });
    std::exception_ptr failure;
    bool keepAlive = false;
    try {
      keepAlive = co_await receive();
    } catch (const system_error&) {
      failure = std::current_exception();
    }
    if (sending_ == Sending::underWay) connection_->close();
    while (sending_ == Sending::underWay) co_await sent_.wait();
    if (failure) std::rethrow_exception(failure);
    if (keepAlive && sending_ == Sending::done) pool_->keep(serviceKey(url_), std::move(connection_));
  }

  Awaitable<void> send() { co_await http::async_write(*connection_, wire_, asio::use_awaitable); }

  /// True if the connection may be used again.
  Awaitable<bool> receive() {
    boost::beast::flat_buffer buffer;
    std::optional<Parser> parser;
    do {
      parser.emplace();
      parser->body_limit(kBodyLimit);
      parser->header_limit(kHeaderLimit);
      co_await http::async_read(*connection_, buffer, *parser, asio::use_awaitable);
    } while (parser->get().result_int() < 200);
    response_ = {static_cast<int>(parser->get().result_int()), std::move(parser->get().body())};
    co_return parser->keep_alive() && buffer.size() == 0;
  }

  void finish(const std::exception_ptr& error) {
    finished_ = true;
    connection_.reset();
    try {
      if (error) std::rethrow_exception(error);
    } catch (const system_error& failure) {
      error_ = std::make_exception_ptr(TransportError(describeNetworkError(failure.code())));
    } catch (...) {
      error_ = std::current_exception();
    }
    end_.wake();
  }

  void abandon() {
    abandoned_ = true;
    if (connection_) connection_->close();
  }

  Executor network_;
  std::shared_ptr<asio::ssl::context> tls_;
  std::shared_ptr<Pool> pool_;
  Event end_;
  std::chrono::milliseconds timeout_;
  ServiceURL url_;
  http::request<http::string_body> wire_;
  Connection connection_;
  enum class Sending { underWay, done, failed } sending_ = Sending::underWay;
  Event sent_;
  HTTPResponse response_;
  std::exception_ptr error_;
  bool finished_ = false;
  bool abandoned_ = false;
};

HTTPSession::HTTPSession(Executor network)
    : network_(std::move(network)),
      tls_(std::make_shared<asio::ssl::context>(asio::ssl::context::tls_client)),
      pool_(std::make_shared<Pool>()) {
  tls_->set_default_verify_paths();
  tls_->set_verify_mode(asio::ssl::verify_peer);
  tls_->set_options(asio::ssl::context::no_tlsv1 | asio::ssl::context::no_tlsv1_1);
}

HTTPSession::~HTTPSession() {
  asio::post(network_, [pool = std::move(pool_)] { pool->idle.clear(); });
}

Awaitable<HTTPResponse> HTTPSession::send(HTTPRequest request) {
  auto exchange = std::make_shared<Exchange>(network_, tls_, pool_, std::move(request));
  co_return co_await runOn(network_, Exchange::perform(std::move(exchange)));
}

}  // namespace quillet
