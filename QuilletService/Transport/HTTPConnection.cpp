// SPDX-License-Identifier: MIT
#include "QuilletService/Transport/HTTPConnection.h"

#include "QuilletService/Transport/PeerWatch.h"
#include "QuilletService/Transport/TranscriptionSession.h"
#include "QuilletService/Transport/Watchdog.h"
#include "QuilletService/Transport/WebSocketSession.h"

namespace quillet {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using asio::ip::tcp;
using Parser = http::request_parser<http::string_body>;
using Request = http::request<http::string_body>;
using TLSStream = asio::ssl::stream<ServerSocket>;

constexpr std::uint32_t kHeaderLimit = 16 * 1024;
constexpr std::uint64_t kLargestBody = 16'000'000;
constexpr std::uint64_t kSmallBody = 4096;
constexpr std::size_t kUsualRequest = 2048;
constexpr std::size_t kDrainLimit = 4 << 20;
constexpr std::chrono::seconds kDrainTime{2};

auto into(boost::system::error_code& error) {
  return asio::redirect_error(asio::use_awaitable, error);
}

std::string_view view(beast::string_view text) {
  return {text.data(), text.size()};
}

SignedRequest signedRequest(const Request& request, std::string_view address) {
  const auto header = [&](std::string_view name) {
    return view(request[beast::string_view(name.data(), name.size())]);
  };
  return {
      .method = view(request.method_string()),
      .target = view(request.target()),
      .deviceId = header("X-QLT-Device"),
      .timestamp = header("X-QLT-Timestamp"),
      .nonce = header("X-QLT-Nonce"),
      .signature = header("X-QLT-Signature"),
      .body = request.body(),
      .address = address,
  };
}

bool isHTTPError(const boost::system::error_code& error) {
  static const auto& category = http::make_error_code(http::error::end_of_stream).category();
  return error.category() == category && error != http::error::end_of_stream && error != http::error::partial_message;
}

ServiceError malformed(const boost::system::error_code& error) {
  if (error == http::error::body_limit) return {413, "too_large", "The body is too large."};
  if (error == http::error::header_limit) return {431, "header_too_large", "The header is too large."};
  return Refusal::badRequest("The request isn't HTTP.");
}

/// The last line of that header: the one that the nearest proxy has written.
std::string_view forwardedFor(const Request& request) {
  std::string_view last;
  const auto [first, end] = request.equal_range("X-Forwarded-For");
  for (auto field = first; field != end; ++field) last = view(field->value());
  return last;
}

/// Says that something is over, whatever ended it.
struct Ending {
  std::function<void()> tell;
  ~Ending() { tell(); }
};

/// One client's connection: requests one after the other.
template <typename Stream>
class HTTPConnection final : public ServerConnection {
 public:
  HTTPConnection(ConnectionHost& host, Stream stream, ConnectionOrigin origin)
      : host_(host),
        stream_(std::move(stream)),
        origin_(std::move(origin)),
        peer_(origin_.lease.address()),
        watchdog_(stream_.get_executor(), [this] { close(); }) {
    buffer_.reserve(kUsualRequest);
    host_.add(*this);
  }
  ~HTTPConnection() override { host_.remove(*this); }

  Awaitable<void> run() {
    bool open = co_await handshake();
    while (open && !finishing_) open = co_await serveOne();
    co_await shutDown();
  }

  void finish() override {
    finishing_ = true;
    if (waiting_) close();
  }

  void abort() override {
    finishing_ = true;
    if (const auto session = session_.lock()) return session->abort();
    if (transcription_ != nullptr) return transcription_->abort();
    close();
  }

 private:
  /// Reads one request and answers it; false when the connection is over.
  Awaitable<bool> serveOne() {
    Parser parser;
    parser.header_limit(kHeaderLimit);
    parser.body_limit(kLargestBody);
    boost::system::error_code error = co_await readHeader(parser);
    if (!error) {
      std::optional<HTTPReply> refused = refusalOfHead(parser);
      if (refused) {
        co_await refuse(*std::move(refused));
        co_return false;
      }
      error = co_await readBody(parser, Router::bodyLimit(view(parser.get().target())));
    }
    if (error) {
      if (isHTTPError(error)) co_await refuse(reply(malformed(error)));
      co_return false;
    }
    const Request request = parser.release();
    if (Router::isRelayPath(view(request.target()))) co_return co_await serveRelay(request);
    if (Router::isStreamPath(view(request.target()))) co_return co_await serveStream(request);
    std::optional<HTTPReply> answer = co_await handle(request);
    if (!answer) co_return false;
    if (origin_.proxied) origin_.lease = AddressLimiter::unlimited(peer_);
    co_return co_await write(*std::move(answer), request.keep_alive() && !finishing_);
  }

  /// Nothing if the client went away meanwhile and the request is one of those that end so.
  Awaitable<std::optional<HTTPReply>> handle(const Request& request) {
    const SignedRequest signed_ = signedRequest(request, origin_.lease.address());
    if (!Router::endsWithItsClient(signed_.target)) co_return co_await host_.router().handle(signed_);
    std::optional<HTTPReply> answer;
    bool ended = false;
    asio::steady_timer over(stream_.get_executor(), asio::steady_timer::time_point::max());
    Task work(stream_.get_executor());
    PeerWatch watch(beast::get_lowest_layer(stream_), [&] { work.cancel(); });
    work.start([&]() -> Awaitable<void> {
      const Ending ending{[&] {
        ended = true;
        over.cancel();
      }};
      answer = co_await host_.router().handle(signed_);
    });
    boost::system::error_code woken;
    while (!ended) co_await over.async_wait(into(woken));
    co_return answer;
  }

  HTTPReply reply(ServiceError error) { return host_.router().refusal(std::make_exception_ptr(std::move(error))); }

  /// What can be refused before a body is read: one client's too many connections, and large bodies of strangers.
  std::optional<HTTPReply> refusalOfHead(const Parser& parser) {
    if (origin_.proxied && !adoptClient(parser.get())) return reply(Refusal::tooManyRequests());
    const std::uint64_t size = parser.content_length().value_or(0);
    const bool mayBeLarge = parser.chunked() || size > kSmallBody;
    if (!mayBeLarge || size > Router::bodyLimit(view(parser.get().target()))) return std::nullopt;
    return host_.router().refusalBeforeBody(signedRequest(parser.get(), origin_.lease.address()));
  }

  bool adoptClient(const Request& request) {
    const auto client = forwardedAddress(forwardedFor(request));
    if (!client) return true;
    auto lease = host_.addresses().take(addressKey(*client));
    if (lease) origin_.lease = *std::move(lease);
    return lease.has_value();
  }

  Awaitable<boost::system::error_code> readHeader(Parser& parser) {
    boost::system::error_code error;
    watchdog_.watch(std::exchange(first_, false) ? host_.limits().header : host_.limits().idle);
    waiting_ = true;
    co_await http::async_read_header(stream_, buffer_, parser, into(error));
    waiting_ = false;
    watchdog_.rest();
    co_return error;
  }

  Awaitable<boost::system::error_code> readBody(Parser& parser, std::size_t limit) {
    boost::system::error_code error;
    if (parser.is_done()) co_return error;
    if (parser.content_length().value_or(0) > limit) co_return http::make_error_code(http::error::body_limit);
    parser.body_limit(limit);
    watchdog_.watch(host_.limits().body);
    if (beast::iequals(parser.get()[http::field::expect], "100-continue")) {
      http::response<http::empty_body> more(http::status::continue_, 11);
      co_await http::async_write(stream_, more, into(error));
      if (error) co_return error;
    }
    co_await http::async_read(stream_, buffer_, parser, into(error));
    watchdog_.rest();
    co_return error;
  }

  Awaitable<bool> serveRelay(const Request& request) {
    if (!beast::websocket::is_upgrade(request)) {
      HTTPReply answer = reply({426, "upgrade_required", "This path is a WebSocket."});
      co_return co_await write(std::move(answer), request.keep_alive());
    }
    std::optional<Device> device;
    std::exception_ptr refused;
    try {
      device = host_.router().authenticateRelay(signedRequest(request, origin_.lease.address()));
    } catch (...) {
      refused = std::current_exception();
    }
    if (refused) {
      HTTPReply answer = host_.router().refusal(refused);
      co_return co_await write(std::move(answer), false);
    }
    if (finishing_) co_return false;
    auto session = std::make_shared<WebSocketSession<Stream>>(std::move(stream_), host_.service(), *std::move(device),
                                                              host_.limits());
    upgraded_ = true;
    session_ = session;
    co_await session->run(request);
    co_return false;
  }

  Awaitable<bool> serveStream(const Request& request) {
    std::optional<Router::StreamEntry> entry;
    std::exception_ptr refused;
    try {
      if (!beast::websocket::is_upgrade(request)) {
        throw ServiceError(426, "upgrade_required", "This path is a WebSocket.");
      }
      entry.emplace(host_.router().authenticateStream(signedRequest(request, origin_.lease.address())));
    } catch (...) {
      refused = std::current_exception();
    }
    if (refused) co_return co_await write(host_.router().refusal(refused), false);
    if (finishing_) co_return false;
    TranscriptionSession<Stream> session(std::move(stream_), host_.router(), *std::move(entry), host_.limits());
    upgraded_ = true;
    transcription_ = &session;
    co_await session.run(request);
    transcription_ = nullptr;
    co_return false;
  }

  Awaitable<bool> write(HTTPReply answer, bool keepAlive) {
    http::response<http::string_body> response(static_cast<http::status>(answer.status), 11);
    response.set(http::field::content_type, "application/json");
    response.keep_alive(keepAlive);
    response.body() = std::move(answer.body);
    response.prepare_payload();
    boost::system::error_code error;
    watchdog_.watch(host_.limits().body);
    co_await http::async_write(stream_, response, into(error));
    watchdog_.rest();
    co_return keepAlive && !error;
  }

  /// Answers a request that wasn't read to its end, and takes what the client still sends, so that it sees the answer.
  Awaitable<void> refuse(HTTPReply answer) {
    co_await write(std::move(answer), false);
    boost::system::error_code error;
    beast::get_lowest_layer(stream_).shutdown(tcp::socket::shutdown_send, error);
    watchdog_.watch(kDrainTime);
    std::array<char, 16 * 1024> scrap;
    for (std::size_t drained = 0; !error && drained < kDrainLimit;) {
      drained += co_await stream_.async_read_some(asio::buffer(scrap), into(error));
    }
  }

  Awaitable<bool> handshake() {
    boost::system::error_code error;
    if constexpr (std::is_same_v<Stream, TLSStream>) {
      watchdog_.watch(host_.limits().header);
      waiting_ = true;
      co_await stream_.async_handshake(asio::ssl::stream_base::server, into(error));
      waiting_ = false;
    }
    co_return !error;
  }

  Awaitable<void> shutDown() {
    if (upgraded_) co_return;
    boost::system::error_code error;
    if constexpr (std::is_same_v<Stream, TLSStream>) {
      watchdog_.watch(kDrainTime);
      co_await stream_.async_shutdown(into(error));
    }
    beast::get_lowest_layer(stream_).shutdown(tcp::socket::shutdown_both, error);
  }

  void close() {
    boost::system::error_code ignored;
    beast::get_lowest_layer(stream_).close(ignored);
  }

  ConnectionHost& host_;
  Stream stream_;
  ConnectionOrigin origin_;
  std::string peer_;
  Watchdog watchdog_;
  beast::flat_buffer buffer_;
  std::weak_ptr<WebSocketSession<Stream>> session_;
  TranscriptionSession<Stream>* transcription_ = nullptr;
  bool first_ = true, waiting_ = false, finishing_ = false, upgraded_ = false;
};

template <typename Stream>
Awaitable<void> drive(std::unique_ptr<HTTPConnection<Stream>> connection) {
  co_await connection->run();
}

template <typename Stream>
void start(ConnectionHost& host, Stream stream, ConnectionOrigin origin) {
  const auto executor = stream.get_executor();
  auto connection = std::make_unique<HTTPConnection<Stream>>(host, std::move(stream), std::move(origin));
  asio::co_spawn(executor, drive(std::move(connection)), [](std::exception_ptr error) {
    if (error && !isCancellation(error)) Log::error("service", "A connection ended in an unexpected exception");
  });
}

}  // namespace

void startConnection(ConnectionHost& host, ServerSocket socket, ConnectionOrigin origin, asio::ssl::context* tls) {
  if (tls == nullptr) return start(host, std::move(socket), std::move(origin));
  start(host, TLSStream(std::move(socket), *tls), std::move(origin));
}

}  // namespace quillet
