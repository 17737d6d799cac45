// SPDX-License-Identifier: MIT
#include "QuilletService/Transport/HTTPConnection.h"

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "QuilletService/Transport/PeerWatch.h"
#include "QuilletService/Transport/RequestHead.h"
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
constexpr std::size_t kLargeTurn =
    64 * 1024;  ///< Of a large body: what is read and hashed before others have their turn.
constexpr std::size_t kDrainLimit = 4 << 20;
constexpr std::chrono::seconds kDrainTime{2};
constexpr std::size_t kLeastRead = 512;
constexpr int kMethodNotAllowed = 405;
constexpr int kUpgradeRequired = 426;

auto into(boost::system::error_code& error) {
  return asio::redirect_error(asio::use_awaitable, error);
}

std::string_view view(beast::string_view text) {
  return {text.data(), text.size()};
}

std::string_view targetOf(const Request& request) {
  return RequestHead::pathWithQuery(view(request.target()));
}

SignedRequest signedRequest(const Request& request, std::string_view address,
                            std::optional<Crypto::Digest> bodyHash = std::nullopt) {
  const auto header = [&](std::string_view name) {
    return view(request[beast::string_view(name.data(), name.size())]);
  };
  return {
      .method = view(request.method_string()),
      .target = targetOf(request),
      .deviceId = header("X-QLT-Device"),
      .timestamp = header("X-QLT-Timestamp"),
      .nonce = header("X-QLT-Nonce"),
      .signature = header("X-QLT-Signature"),
      .body = request.body(),
      .address = address,
      .bodyHash = bodyHash,
  };
}

bool isHTTPError(const boost::system::error_code& error) {
  static const auto& category = http::make_error_code(http::error::end_of_stream).category();
  return error.category() == category && error != http::error::end_of_stream && error != http::error::partial_message;
}

ServiceError malformed(const boost::system::error_code& error) {
  if (error == http::error::body_limit) return {413, "too_large", "The body is too large."};
  if (error == http::error::header_limit) return {431, "header_too_large", "The header is too large."};
  if (error == http::error::bad_version) return {505, "bad_version", "This server speaks version 1.1 of HTTP."};
  return Refusal::badRequest("The request isn't HTTP.");
}

/// The last line of that header: the one that the nearest proxy has written.
std::string_view forwardedFor(const Request& request) {
  std::string_view last;
  const auto [first, end] = request.equal_range("X-Forwarded-For");
  for (auto field = first; field != end; ++field) last = view(field->value());
  return last;
}

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
    if (transcription_ != nullptr) return transcription_->abort();
    close();
  }

 private:
  /// Reads one request and answers it; false when the connection is over.
  Awaitable<bool> serveOne() {
    Parser parser;
    parser.header_limit(kHeaderLimit);
    parser.body_limit(kLargestBody);
    std::optional<HTTPReply> refused;
    std::optional<Crypto::Digest> bodyHash;
    boost::system::error_code error = co_await readHead(parser, refused);
    if (!error && !refused) refused = refusalOfHead(parser);
    if (!error && !refused) error = co_await readBody(parser, bodyHash);
    if (error && isHTTPError(error)) refused = reply(malformed(error));
    const bool isRefused = refused.has_value();
    if (isRefused) co_await refuse(*std::move(refused));
    if (error || isRefused) co_return false;

    const Request request = parser.release();
    if (Router::isRelayPath(targetOf(request))) co_return co_await serveRelay(request);
    if (Router::isStreamPath(targetOf(request))) co_return co_await serveStream(request);
    std::optional<HTTPReply> answer = co_await handle(request, bodyHash);
    if (!answer) co_return false;
    if (origin_.proxied) origin_.lease = AddressLimiter::unlimited(peer_);
    co_return co_await write(*std::move(answer), request.keep_alive() && !finishing_, &request);
  }

  /// Nothing if the client went away meanwhile and the request is one of those that end so.
  Awaitable<std::optional<HTTPReply>> handle(const Request& request, std::optional<Crypto::Digest> bodyHash) {
    const SignedRequest signed_ = signedRequest(request, origin_.lease.address(), bodyHash);
    if (!Router::endsWithItsClient(signed_.target)) co_return co_await host_.router().handle(signed_);
    std::optional<HTTPReply> answer;
    Task work(stream_.get_executor());
    PeerWatch watch(stream_.get_executor(), beast::get_lowest_layer(stream_).native_handle(), [&] { work.cancel(); });
    work.start([&]() -> Awaitable<void> { answer = co_await host_.router().handle(signed_); });
    co_await work.token().ended();
    co_return answer;
  }

  HTTPReply reply(ServiceError error) { return host_.router().refusal(std::make_exception_ptr(std::move(error))); }

  /// What can be refused before a body is read: one client's too many connections, and large bodies of strangers.
  std::optional<HTTPReply> refusalOfHead(const Parser& parser) {
    if (origin_.proxied && !adoptClient(parser.get())) return reply(Refusal::tooManyRequests());
    const std::uint64_t size = parser.content_length().value_or(0);
    const bool mayBeLarge = parser.chunked() || size > kSmallBody;
    if (!mayBeLarge || size > bodyLimit(parser)) return std::nullopt;
    return host_.router().refusalBeforeBody(signedRequest(parser.get(), origin_.lease.address()));
  }

  bool adoptClient(const Request& request) {
    const auto client = forwardedAddress(forwardedFor(request));
    if (!client) return true;
    auto lease = host_.addresses().take(addressKey(*client));
    if (!lease) return false;
    origin_.lease = *std::move(lease);
    return true;
  }

  std::size_t bodyLimit(const Parser& parser) const {
    return Router::bodyLimit(view(parser.get().method_string()), targetOf(parser.get()));
  }

  /// The bytes that have come and aren't used up yet.
  std::string_view unread() const {
    const auto data = buffer_.cdata();
    return {static_cast<const char*>(data.data()), data.size()};
  }

  Awaitable<boost::system::error_code> readHead(Parser& parser, std::optional<HTTPReply>& refused) {
    watchdog_.watch(std::exchange(first_, false) ? host_.limits().header : host_.limits().idle);
    waiting_ = true;
    boost::system::error_code error;
    std::size_t checked = 0, length = takeHead(parser, checked, error, refused);
    while (length == 0 && !error && !refused) {
      const std::size_t room = std::max(kLeastRead, buffer_.capacity() - buffer_.size());
      buffer_.commit(co_await stream_.async_read_some(buffer_.prepare(room), into(error)));
      if (!error) length = takeHead(parser, checked, error, refused);
    }
    waiting_ = false;
    watchdog_.rest();
    co_return error;
  }

  /// Parses a head that has come as a whole. Gives its length, or 0 if more is needed or something is wrong.
  std::size_t takeHead(Parser& parser, std::size_t& checked, boost::system::error_code& error,
                       std::optional<HTTPReply>& refused) {
    try {
      if (checked == 0) buffer_.consume(RequestHead::emptyLines(unread()));
      const std::size_t length = RequestHead::length(unread(), checked);
      if (length > kHeaderLimit || (length == 0 && buffer_.size() >= kHeaderLimit)) {
        error = http::make_error_code(http::error::header_limit);
      } else if (length > 0) {
        parser.put(asio::buffer(buffer_.data(), length), error);
        buffer_.consume(length);
        if (!error) RequestHead::requireStrict(parser.get());
        return error ? 0 : length;
      }
    } catch (const ServiceError& fault) {
      refused = reply(fault);
    }
    return 0;
  }

  Awaitable<boost::system::error_code> readBody(Parser& parser, std::optional<Crypto::Digest>& hash) {
    boost::system::error_code error;
    if (parser.is_done()) co_return error;
    const std::size_t limit = bodyLimit(parser), size = parser.content_length().value_or(0);
    if (size > limit) co_return http::make_error_code(http::error::body_limit);
    parser.body_limit(limit);
    watchdog_.watch(host_.limits().body);
    if (beast::iequals(parser.get()[http::field::expect], "100-continue")) {
      http::response<http::empty_body> more(http::status::continue_, 11);
      co_await http::async_write(stream_, more, into(error));
      if (error) co_return error;
    }
    if (size > kLargeTurn) buffer_.reserve(kLargeTurn);
    co_await http::async_read_some(stream_, buffer_, parser, into(error));
    if (!error && !parser.is_done()) error = co_await readLongBody(parser, hash);
    if (buffer_.size() == 0 && buffer_.capacity() > kUsualRequest) shrinkBuffer();
    watchdog_.rest();
    co_return error;
  }

  /// A body that comes in pieces is hashed in pieces, so that a large one doesn't hold up the others.
  Awaitable<boost::system::error_code> readLongBody(Parser& parser, std::optional<Crypto::Digest>& hash) {
    boost::system::error_code error;
    Crypto::Hasher hasher;
    std::size_t hashed = 0;
    const auto addNew = [&] {
      hasher.add(bytesOf(std::string_view(parser.get().body()).substr(hashed)));
      hashed = parser.get().body().size();
    };
    addNew();
    while (!error && !parser.is_done()) {
      co_await http::async_read_some(stream_, buffer_, parser, into(error));
      addNew();
    }
    hash = hasher.finish();
    co_return error;
  }

  void shrinkBuffer() {
    buffer_ = beast::flat_buffer();
    buffer_.reserve(kUsualRequest);
  }

  Awaitable<bool> serveRelay(const Request& request) {
    std::exception_ptr refused;
    std::optional<Device> device;
    try {
      requireUpgrade(request);
      device = co_await host_.router().authenticateRelay(signedRequest(request, origin_.lease.address()));
    } catch (...) {
      refused = std::current_exception();
    }
    if (refused) {
      HTTPReply answer = host_.router().refusal(refused);
      const bool known = answer.status == kUpgradeRequired || answer.status == kMethodNotAllowed;
      co_return co_await write(std::move(answer), known && request.keep_alive(), &request);
    }
    if (finishing_) co_return false;
    upgraded_ = true;
    WebSocketSession<Stream>::start(host_, std::move(stream_), device->id, std::move(origin_.lease), request);
    co_return false;
  }

  Awaitable<bool> serveStream(const Request& request) {
    std::optional<Router::StreamEntry> entry;
    std::exception_ptr refused;
    try {
      requireUpgrade(request);
      entry.emplace(co_await host_.router().authenticateStream(signedRequest(request, origin_.lease.address())));
    } catch (...) {
      refused = std::current_exception();
    }
    if (refused) co_return co_await write(host_.router().refusal(refused), false, &request);
    if (finishing_) co_return false;
    TranscriptionSession<Stream> session(std::move(stream_), host_.router(), *std::move(entry), host_.limits());
    upgraded_ = true;
    transcription_ = &session;
    co_await session.run(request);
    transcription_ = nullptr;
    co_return false;
  }

  static void requireUpgrade(const Request& request) {
    if (request.method() != http::verb::get) throw MethodNotAllowed("GET");
    const auto [key, end] = request.equal_range(http::field::sec_websocket_key);
    const bool upgrade = beast::websocket::is_upgrade(request) && request[http::field::sec_websocket_version] == "13";
    if (!upgrade) throw ServiceError(kUpgradeRequired, "upgrade_required", "This path is a WebSocket.");
    if (key == end || std::next(key) != end || !RequestHead::isWebSocketKey(view(key->value()))) {
      throw Refusal::badRequest("Sec-WebSocket-Key isn't one.");
    }
  }

  /// `request` is absent if it wasn't read to its end.
  Awaitable<bool> write(HTTPReply answer, bool keepAlive, const Request* request = nullptr) {
    http::response<http::string_body> response(static_cast<http::status>(answer.status), 11);
    response.set(http::field::date, host_.date());
    response.set(http::field::content_type, "application/json");
    if (!answer.allow.empty()) response.set(http::field::allow, answer.allow);
    if (answer.status == kUpgradeRequired) {
      response.set(http::field::upgrade, "websocket");
      response.set(http::field::connection, "upgrade");
      response.set(http::field::sec_websocket_version, "13");
    }
    if (keepAlive && request->version() < 11) response.set(http::field::connection, "keep-alive");
    if (!keepAlive) response.keep_alive(false);
    response.content_length(answer.body.size());
    if (request == nullptr || request->method() != http::verb::head) response.body() = std::move(answer.body);
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
    for (std::size_t drained = 0; !error && drained < kDrainLimit;) drained += co_await drain(error);
  }

  /// Takes some bytes for nobody. What isn't encrypted isn't even copied.
  Awaitable<std::size_t> drain(boost::system::error_code& error) {
    if constexpr (std::is_same_v<Stream, TLSStream>) {
      static std::array<char, 16 * 1024> scrap;
      co_return co_await stream_.async_read_some(asio::buffer(scrap), into(error));
    } else {
      static std::array<char, 1 << 20> untouched;
      co_return co_await stream_.async_receive(asio::buffer(untouched), MSG_TRUNC, into(error));
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
  asio::co_spawn(executor, drive(std::move(connection)), [](const std::exception_ptr& error) {
    if (error && !isCancellation(error)) Log::error("service", "A connection ended in an unexpected exception");
  });
}

}  // namespace

void startConnection(ConnectionHost& host, ServerSocket socket, ConnectionOrigin origin, asio::ssl::context* tls) {
  if (tls == nullptr) return start(host, std::move(socket), std::move(origin));
  start(host, TLSStream(std::move(socket), *tls), std::move(origin));
}

}  // namespace quillet
