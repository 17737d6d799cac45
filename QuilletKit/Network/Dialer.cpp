// SPDX-License-Identifier: MIT
#include "QuilletKit/Network/Dialer.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <charconv>
#include <chrono>
#include <list>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

namespace quillet {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;
using boost::system::system_error;

constexpr std::chrono::milliseconds kHeadStart{250};

std::optional<Dialer::TCP::endpoint> literal(const std::string& host, const std::string& port) {
  error_code error;
  const auto address = asio::ip::make_address(host, error);
  std::uint16_t number = 0;
  const auto parsed = std::from_chars(port.data(), port.data() + port.size(), number);
  if (error || parsed.ec != std::errc() || parsed.ptr != port.data() + port.size()) return std::nullopt;
  return Dialer::TCP::endpoint(address, number);
}

}  // namespace

/// Where a lookup leaves what it found, whether anyone still waits for it or not.
struct Dialer::Answer : std::enable_shared_from_this<Answer> {
  Answer(Executor network, Event& wakes) : home(std::move(network)), arrival(&wakes) {}

  /// On the lookup's thread.
  void give(Endpoints found, error_code failure) {
    const std::lock_guard guard(lock);
    if (!home) return;
    endpoints = std::move(found);
    error = failure;
    asio::post(*home, [self = shared_from_this()] {
      self->arrived = true;
      if (self->arrival != nullptr) self->arrival->wake();
    });
  }
  /// The network may be gone after this.
  void leave() {
    const std::lock_guard guard(lock);
    home.reset();
    arrival = nullptr;
  }

  std::mutex lock;
  std::optional<Executor> home;
  Event* arrival;  ///< Of the network thread, as the rest.
  bool arrived = false;
  Endpoints endpoints;
  error_code error;
};

/// The attempts on one host's addresses.
struct Dialer::Race : std::enable_shared_from_this<Race> {
  explicit Race(const Executor& network) : executor(network) {}

  void begin(const TCP::endpoint& endpoint) {
    ++running;
    Socket& socket = sockets.emplace_back(executor);
    socket.async_connect(endpoint, [self = shared_from_this(), &socket](error_code failure) {
      --self->running;
      if (failure) {
        self->error = failure;
      } else if (!self->winner) {
        self->winner = std::move(socket);
      }
      self->news.wake();
    });
  }
  void close() {
    error_code ignored;
    for (Socket& socket : sockets) socket.close(ignored);
    news.wake();
  }

  Executor executor;
  std::list<Socket> sockets;
  std::size_t running = 0;
  std::optional<Socket> winner;
  error_code error;
  Event news;  ///< An attempt has ended, or nobody wants them any more.
};

Dialer::Dialer(Executor network, Lookup lookup) : network_(std::move(network)), lookup_(std::move(lookup)) {}

Dialer::Endpoints Dialer::systemLookup(const std::string& host, const std::string& port) {
  asio::io_context context;
  TCP::resolver resolver(context);
  Endpoints endpoints;
  for (const auto& entry : resolver.resolve(host, port)) endpoints.push_back(entry.endpoint());
  return endpoints;
}

Awaitable<Dialer::Socket> Dialer::dial(std::string host, std::string port) {
  requireWanted();
  if (const auto known = literal(host, port)) co_return co_await connect({*known});
  co_return co_await connect(co_await find(std::move(host), std::move(port)));
}

void Dialer::cancel() {
  cancelled_ = true;
  found_.wake();
  if (race_) race_->close();
}

Awaitable<Dialer::Endpoints> Dialer::find(std::string host, std::string port) {
  const auto answer = std::make_shared<Answer>(network_, found_);
  const std::shared_ptr<void> untilHere(answer.get(), [answer](void*) { answer->leave(); });
  try {
    std::thread([answer, lookup = lookup_, host = std::move(host), port = std::move(port)] {
      try {
        answer->give(lookup(host, port), asio::error::host_not_found);
      } catch (const system_error& failure) {
        answer->give({}, failure.code());
      }
    }).detach();
  } catch (const std::system_error&) {
    throw system_error(asio::error::host_not_found_try_again);  // no thread to be had
  }
  while (!answer->arrived && !cancelled_) co_await found_.wait();
  requireWanted();
  if (answer->endpoints.empty()) throw system_error(answer->error);
  co_return std::move(answer->endpoints);
}

Awaitable<Dialer::Socket> Dialer::connect(Endpoints endpoints) {
  const auto race = race_ = std::make_shared<Race>(network_);
  for (auto next = endpoints.begin(); !race->winner && !cancelled_;) {
    if (next != endpoints.end()) race->begin(*next++);
    if (next != endpoints.end()) {
      co_await race->news.waitFor(kHeadStart);
    } else if (race->running > 0) {
      co_await race->news.wait();
    } else {
      break;
    }
  }
  race->close();
  race_.reset();
  requireWanted();
  if (!race->winner) throw system_error(race->error);
  co_return *std::move(race->winner);
}

void Dialer::requireWanted() const {
  if (cancelled_) throw system_error(asio::error::operation_aborted);
}

}  // namespace quillet
