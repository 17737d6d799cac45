// SPDX-License-Identifier: MIT
#include "Benchmarks/ServiceRig.h"

#include <stdlib.h>

#include <boost/asio/detached.hpp>
#include <boost/asio/redirect_error.hpp>
#include <deque>

#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Base/Log.h"

namespace quillet::bench {
namespace {

const auto kAwait = asio::use_awaitable;

}  // namespace

ServiceThread::ServiceThread(ServiceSettings settings) {
  Log::configure(Log::Level::error, "quillet-benchmarks");
  std::string pattern = (std::filesystem::temp_directory_path() / "quillet-bench-XXXXXX").string();
  folder = ::mkdtemp(pattern.data());
  settings.database = folder / "db";
  settings.registrationsPerHour = 0;
  loop.run([&] {
    service.emplace(loop.context.get_executor(), systemTime(loop.context.get_executor()), settings);
    ServerLimits limits;
    limits.connectionsPerAddress = 0;
    server.emplace(loop.context, *service, "127.0.0.1", 0, std::nullopt, limits);
    server->start();
    endpoint = server->endpoint();
  });
}

ServiceThread::~ServiceThread() {
  std::promise<void> stopped;
  asio::post(loop.context, [&] {
    server->stop([&] { stopped.set_value(); });
    server->abort();
  });
  stopped.get_future().wait();
  loop.run([this] {
    server.reset();
    service.reset();
  });
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}

void ServiceThread::pair(const Identity& mac, const Identity& phone) {
  loop.run([&] {
    service->devices.registerDevice(mac.registration());
    service->devices.registerDevice(phone.registration());
    service->pairDirectory.add({mac.peer.deviceId, phone.peer.deviceId, Clock::now()});
  });
}

http::request<http::string_body> signedRequest(const DeviceIdentity& identity, const std::string& method,
                                               const std::string& target, const std::string& body) {
  HTTPRequest request;
  request.method = method;
  request.url = {"http", "127.0.0.1", "", target};
  request.body = body;
  RequestSigner(identity).sign(request, Clock::now());
  http::request<http::string_body> made(http::string_to_verb(method), target, 11);
  made.set(http::field::host, "127.0.0.1");
  for (const auto& [name, value] : request.headers) made.set(name, value);
  made.body() = body;
  made.prepare_payload();
  return made;
}

Awaitable<std::string> exchange(tcp::socket& socket, const http::request<http::string_body>& request) {
  co_await http::async_write(socket, request, kAwait);
  beast::flat_buffer buffer;
  http::response<http::string_body> response;
  co_await http::async_read(socket, buffer, response, kAwait);
  if (response.result_int() / 100 != 2) throw std::runtime_error("refused: " + response.body());
  co_return std::move(response.body());
}

tcp::socket dial(asio::io_context& context, const tcp::endpoint& endpoint) {
  tcp::socket socket(context);
  socket.connect(endpoint);
  socket.set_option(tcp::no_delay(true));
  return socket;
}

WebSocket openRelay(asio::io_context& context, const tcp::endpoint& endpoint, const DeviceIdentity& identity) {
  WebSocket socket(dial(context, endpoint));
  const auto request = signedRequest(identity, "GET", "/v1/mac/connect");
  socket.set_option(beast::websocket::stream_base::decorator([&](beast::websocket::request_type& upgrade) {
    for (const auto& field : request) {
      if (field.name_string().starts_with("X-QLT")) upgrade.set(field.name_string(), field.value());
    }
  }));
  socket.handshake("127.0.0.1", "/v1/mac/connect");
  socket.auto_fragment(false);
  socket.text(true);
  return socket;
}

Awaitable<void> answerFrames(WebSocket& socket, const std::string& answer) {
  beast::flat_buffer buffer;
  boost::system::error_code ended;
  while (!ended) {
    co_await socket.async_read(buffer, asio::redirect_error(kAwait, ended));
    if (ended) co_return;
    buffer.consume(buffer.size());
    co_await socket.async_write(asio::buffer(answer), asio::redirect_error(kAwait, ended));
  }
}

PrepareExchange::PrepareExchange(const Identity& mac, const Identity& phone)
    : target("/v1/macs/" + mac.peer.deviceId + "/prepare") {
  const std::string text(540, 't');  // with keys, ids and base64url about 1 KB of frame
  request = {"r", Envelope::sealBytes(text, EnvelopePurpose::prepare, phone.identity, mac.peer)};
  body = JSONCoding::encode(request);
  frame = JSONCoding::encode(RelayServerMessage(RelayServer::Prepare{"r", phone.peer.deviceId, request.envelope}));
  const Envelope sealed = Envelope::sealBytes(text, EnvelopePurpose::prepareResult, mac.identity, phone.peer);
  answer = JSONCoding::encode(RelayClientMessage(RelayClient::PrepareResult{"r", phone.peer.deviceId, sealed}));
}

Clients::Clients(const tcp::endpoint& endpoint, const std::deque<Identity>& macs, const std::deque<Identity>& phones)
    : phones_(phones) {
  for (std::size_t i = 0; i < macs.size(); ++i) {
    exchanges_.emplace_back(macs[i], phones[i]);
    desktops_.push_back(openRelay(context_, endpoint, macs[i].identity));
    asio::co_spawn(context_, answerFrames(desktops_.back(), exchanges_.back().answer), asio::detached);
    sockets_.push_back(dial(context_, endpoint));
  }
}

void Clients::call(int each, std::vector<double>& samples) {
  std::size_t left = sockets_.size();
  for (std::size_t i = 0; i < sockets_.size(); ++i) {
    asio::co_spawn(context_, callOne(i, each, samples), [&](std::exception_ptr error) {
      if (error) std::rethrow_exception(error);
      --left;
    });
  }
  context_.restart();
  while (left > 0) context_.run_one();
}

Awaitable<void> Clients::callOne(std::size_t i, int each, std::vector<double>& samples) {
  for (int call = 0; call < each; ++call) {
    const auto request = signedRequest(phones_[i].identity, "POST", exchanges_[i].target, exchanges_[i].body);
    const auto start = SteadyClock::now();
    co_await exchange(sockets_[i], request);
    samples.push_back(microsecondsSince(start));
  }
}

struct BareRelay::State {
  std::unordered_map<std::string, Crypto::Key> keys;
  tcp::acceptor acceptor;
  /// The one desktop of a bare relay, and who waits for its next frame.
  std::deque<std::unique_ptr<WebSocket>> desktops{};
  std::size_t phones = 0;

  Awaitable<void> accept() {
    for (;;) {
      tcp::socket socket = co_await acceptor.async_accept(kAwait);
      socket.set_option(tcp::no_delay(true));
      asio::co_spawn(acceptor.get_executor(), serve(std::move(socket)), asio::detached);
    }
  }

  Awaitable<void> serve(tcp::socket socket) {
    beast::flat_buffer buffer;
    http::request<http::string_body> request;
    co_await http::async_read(socket, buffer, request, kAwait);
    if (beast::websocket::is_upgrade(request)) {
      auto desktop = std::make_unique<WebSocket>(std::move(socket));
      desktop->auto_fragment(false);
      desktop->text(true);
      co_await desktop->async_accept(request, kAwait);
      desktops.push_back(std::move(desktop));
      co_return;
    }
    WebSocket& desktop = *desktops.at(phones++ % desktops.size());
    beast::flat_buffer frame;
    for (;;) {
      if (!keys.empty()) verify(request);
      co_await desktop.async_write(asio::buffer(request.body()), kAwait);
      co_await desktop.async_read(frame, kAwait);
      http::response<http::string_body> response(http::status::ok, 11);
      response.body() = beast::buffers_to_string(frame.data());
      response.prepare_payload();
      frame.consume(frame.size());
      co_await http::async_write(socket, response, kAwait);
      request = {};
      co_await http::async_read(socket, buffer, request, kAwait);
    }
  }

  void verify(const http::request<http::string_body>& request) const {
    const auto header = [&](const char* name) { return std::string(request[name]); };
    const auto signature = Base64URL::decode(header("X-QLT-Signature"));
    const std::string canonical =
        RequestSigner::canonicalString(request.method_string(), request.target(), std::stoll(header("X-QLT-Timestamp")),
                                       header("X-QLT-Nonce"), bytesOf(request.body()));
    if (!Crypto::verify(keys.at(header("X-QLT-Device")), bytesOf(canonical), *signature))
      throw std::runtime_error("bad signature");
  }
};

BareRelay::BareRelay(std::unordered_map<std::string, Crypto::Key> keys)
    : state_(new State{std::move(keys), tcp::acceptor(loop.context, {asio::ip::address_v4::loopback(), 0})}) {
  endpoint = state_->acceptor.local_endpoint();
  asio::co_spawn(loop.context, state_->accept(), asio::detached);
}

BareRelay::~BareRelay() {
  loop.join();
}

}  // namespace quillet::bench
