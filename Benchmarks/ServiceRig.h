// SPDX-License-Identifier: MIT
#pragma once

#include <time.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <chrono>
#include <deque>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/Protocol/Envelope.h"
#include "QuilletKit/Protocol/RequestSigner.h"
#include "QuilletService/Transport/HTTPServer.h"

/// What the benchmarks of the service share: the service on a thread of its own, devices, and bare clients.
namespace quillet::bench {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using asio::ip::tcp;
using WebSocket = beast::websocket::stream<tcp::socket, false>;
using SteadyClock = std::chrono::steady_clock;

inline double microsecondsSince(SteadyClock::time_point start) {
  return std::chrono::duration<double, std::micro>(SteadyClock::now() - start).count();
}

inline double threadCPUMicroseconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

/// An io_context on a thread of its own.
class LoopThread {
 public:
  LoopThread() : thread_([this] { context.run(); }) {}
  ~LoopThread() { join(); }
  void join() {
    context.stop();
    if (thread_.joinable()) thread_.join();
  }
  template <typename Work>
  auto run(Work work) {
    std::promise<decltype(work())> promise;
    auto result = promise.get_future();
    asio::post(context, [&] {
      if constexpr (std::is_void_v<decltype(work())>) {
        work();
        promise.set_value();
      } else {
        promise.set_value(work());
      }
    });
    return result.get();
  }
  double cpu() {
    return run([] { return threadCPUMicroseconds(); });
  }

  asio::io_context context{1};

 private:
  asio::executor_work_guard<asio::io_context::executor_type> work_{context.get_executor()};
  std::thread thread_;
};

struct Identity {
  explicit Identity(DevicePlatform kind) : platform(kind) {}
  RegisterRequest registration() const {
    return {peer.signingPublicKey, peer.agreementPublicKey, platform, "Bench", "1", std::nullopt};
  }
  DevicePlatform platform;
  DeviceIdentity identity = DeviceIdentity::generate();
  PeerIdentity peer = identity.peerIdentity("Bench", platform);
};

/// The service, in memory but for its file in the folder for temporary files, on a thread of its own.
class ServiceThread {
 public:
  /// With a database of its own, whatever the settings say.
  explicit ServiceThread(ServiceSettings settings = {});
  ~ServiceThread();
  /// A registered and paired desktop and phone.
  void pair(const Identity& mac, const Identity& phone);

  LoopThread loop;
  std::filesystem::path folder;
  std::optional<Service> service;
  std::optional<HTTPServer> server;
  tcp::endpoint endpoint;
};

/// A signed request as it goes on the wire.
http::request<http::string_body> signedRequest(const DeviceIdentity& identity, const std::string& method,
                                               const std::string& target, const std::string& body = {});

/// Sends one request on a kept connection and reads the answer's body. Throws if it isn't a success.
Awaitable<std::string> exchange(tcp::socket& socket, const http::request<http::string_body>& request);

tcp::socket dial(asio::io_context& context, const tcp::endpoint& endpoint);
/// Opens a desktop's relay socket; blocks.
WebSocket openRelay(asio::io_context& context, const tcp::endpoint& endpoint, const DeviceIdentity& identity);

/// Reads frames and answers each with `answer`, until the socket ends.
Awaitable<void> answerFrames(WebSocket& socket, const std::string& answer);

/// A prepare of 1 KB from phone to desktop, and the frame with which the desktop answers it.
struct PrepareExchange {
  PrepareExchange(const Identity& mac, const Identity& phone);
  PrepareRelayRequest request;
  std::string body;    ///< The request's.
  std::string frame;   ///< As it reaches the desktop.
  std::string answer;  ///< The desktop's frame.
  std::string target;
};

/// Phones and desktops on the calling thread, each phone with its own desktop, which answers every frame.
class Clients {
 public:
  Clients(const tcp::endpoint& endpoint, const std::deque<Identity>& macs, const std::deque<Identity>& phones);

  /// So many prepares of every phone, all phones at once. A sample is one in microseconds.
  void call(int each, std::vector<double>& samples);

 private:
  Awaitable<void> callOne(std::size_t i, int each, std::vector<double>& samples);

  asio::io_context context_{1};
  const std::deque<Identity>& phones_;
  std::deque<PrepareExchange> exchanges_;
  std::deque<WebSocket> desktops_;
  std::deque<tcp::socket> sockets_;
};

/// What one answered prepare costs a bare server: HTTP in, a frame out and back, HTTP out. A request of a device
/// that `keys` holds, by id, has its signature verified once.
class BareRelay {
 public:
  explicit BareRelay(std::unordered_map<std::string, Crypto::Key> keys = {});
  ~BareRelay();
  LoopThread loop;
  tcp::endpoint endpoint;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quillet::bench
