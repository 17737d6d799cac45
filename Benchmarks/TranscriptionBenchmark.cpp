// SPDX-License-Identifier: MIT
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/redirect_error.hpp>

#include "Benchmarks/NullEngine.h"
#include "Benchmarks/ServiceRig.h"
#include "Benchmarks/Table.h"

/// What a transcription stream costs the service beside its engine.
namespace quillet::bench {
namespace {

const auto kAwait = asio::use_awaitable;
constexpr std::size_t kStreams = 500;
constexpr int kSeconds = 20;          // of sound a stream
constexpr std::size_t kPiece = 3200;  // a tenth of a second, as clients send it
constexpr int kPieces = 10 * kSeconds;

/// Reads what clients say and answers the last of it: what no server can do without.
class BareSink {
 public:
  BareSink() {
    loop.run([this] {
      acceptor_.emplace(loop.context, tcp::endpoint{asio::ip::address_v4::loopback(), 0});
      endpoint = acceptor_->local_endpoint();
      asio::co_spawn(loop.context, accept(), asio::detached);
    });
  }
  ~BareSink() { loop.join(); }

  LoopThread loop;
  tcp::endpoint endpoint;

 private:
  Awaitable<void> accept() {
    for (;;) {
      tcp::socket socket = co_await acceptor_->async_accept(kAwait);
      asio::co_spawn(loop.context, serve(std::move(socket)), asio::detached);
    }
  }
  static Awaitable<void> serve(tcp::socket socket) {
    WebSocket stream(std::move(socket));
    co_await stream.async_accept(kAwait);
    stream.text(true);
    co_await stream.async_write(asio::buffer("ready", 5), kAwait);
    beast::flat_buffer buffer;
    for (;;) {
      co_await stream.async_read(buffer, kAwait);
      if (stream.got_text()) co_await stream.async_write(asio::buffer("word", 4), kAwait);
      buffer.consume(buffer.size());
    }
  }

  std::optional<tcp::acceptor> acceptor_;  // goes before the loop that it is of
};

WebSocket openStream(asio::io_context& context, const tcp::endpoint& endpoint, const DeviceIdentity& identity) {
  const std::string target = "/v1/transcribe/stream?utteranceId=u&language=en";
  WebSocket socket(dial(context, endpoint));
  const auto request = signedRequest(identity, "GET", target);
  socket.set_option(beast::websocket::stream_base::decorator([&](beast::websocket::request_type& upgrade) {
    for (const auto& field : request) {
      if (field.name_string().starts_with("X-QLT")) upgrade.set(field.name_string(), field.value());
    }
  }));
  socket.handshake("127.0.0.1", target);
  beast::flat_buffer ready;
  socket.read(ready);
  return socket;
}

Awaitable<void> speak(WebSocket& socket, const std::string& piece) {
  socket.binary(true);
  for (int i = 0; i < kPieces; ++i) co_await socket.async_write(asio::buffer(piece), kAwait);
  socket.text(true);
  co_await socket.async_write(asio::buffer(StreamFrames::kFinish), kAwait);
  beast::flat_buffer answer;
  co_await socket.async_read(answer, kAwait);
}

/// All streams at once, each its sound as fast as it is taken.
void speakAll(const tcp::endpoint& endpoint, const DeviceIdentity& identity) {
  asio::io_context context{1};
  std::deque<WebSocket> sockets;
  for (std::size_t i = 0; i < kStreams; ++i) sockets.push_back(openStream(context, endpoint, identity));
  const std::string piece(kPiece, 'x');
  for (WebSocket& socket : sockets) {
    asio::co_spawn(context, speak(socket, piece), [](std::exception_ptr error) {
      if (error) std::rethrow_exception(error);
    });
  }
  context.run();
}

void transcription(Table& table) {
  table.section("500 transcription streams at once, without an engine");
  NullEngine engine;
  ServiceSettings settings;
  settings.engine = &engine;
  settings.transcription = {
      .streams = kStreams, .streamsPerDevice = kStreams, .soundPerDeviceAndHour = std::chrono::seconds(0)};
  ServiceThread service(settings);
  const Identity device(DevicePlatform::macos), phone(DevicePlatform::ios);
  service.pair(device, phone);
  BareSink bare;
  speakAll(service.endpoint, device.identity);  // warm
  const double before = service.loop.cpu();
  speakAll(service.endpoint, device.identity);
  const double ours = service.loop.cpu() - before;
  speakAll(bare.endpoint, device.identity);
  const double bareBefore = bare.loop.cpu();
  speakAll(bare.endpoint, device.identity);
  const double floor = bare.loop.cpu() - bareBefore;
  constexpr double kSpoken = static_cast<double>(kStreams) * kSeconds;
  table.add({"CPU a second of sound, signature and upgrade included",
             {ours / kSpoken, "us"},
             "a bare WebSocket that reads it",
             Figure{floor / kSpoken, "us"},
             2.0});
}
const Section kSection("transcription", transcription);

}  // namespace
}  // namespace quillet::bench
