// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <boost/asio/redirect_error.hpp>
#include <deque>
#include <iostream>
#include <random>

#include "QuilletPhone/Phone.h"
#include "Tests/Doubles/LoopbackServer.h"
#include "Tests/Doubles/LoopbackService.h"
#include "Tests/EndToEnd/Desk.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;

Awaitable<void> sleep(std::chrono::milliseconds duration) {
  asio::steady_timer timer(co_await asio::this_coro::executor, duration);
  co_await timer.async_wait(asio::use_awaitable);
}

/// Stands between a desktop's relay socket and the service and mistreats the frames of both directions: holds them up,
/// drops, fragments, repeats and reorders them, also on a later connection, and cuts connections, some within a frame.
class ChaosProxy {
 public:
  struct Counts {
    std::atomic<int> dropped, cut, repeated, keptForLater, fragmented;
  };

  ChaosProxy(std::uint32_t seed, asio::ip::tcp::endpoint service) : random_(seed), service_(std::move(service)) {}

  /// The same request by way of the proxy.
  HTTPRequest through(HTTPRequest request) const {
    request.url.port = server_.url().port;
    return request;
  }
  /// From now on every frame goes through unharmed.
  void calmDown() { calm_ = true; }
  const Counts& counts() const { return counts_; }

 private:
  using WebSocket = LoopbackServer::WebSocket;
  // Shares in which a frame meets each fate.
  static constexpr double kDrop = 0.01, kCut = 0.003, kRepeat = 0.1, kKeepForLater = 0.05, kDelay = 0.3,
                          kFragment = 0.2;

  struct Link {
    Link(LoopbackServer::Socket near, LoopbackServer::Socket far) : desktop(std::move(near)), service(std::move(far)) {}
    void cut() {
      boost::system::error_code ignored;
      desktop.next_layer().close(ignored);
      service.next_layer().close(ignored);
    }
    WebSocket desktop, service;
  };

  Awaitable<void> serve(LoopbackServer& server, LoopbackServer::Socket socket) {
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
  static Awaitable<bool> connect(Link& link, LoopbackServer::Request request) {
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
  Awaitable<void> pump(std::shared_ptr<Link> link, bool down) {
    WebSocket& in = down ? link->service : link->desktop;
    WebSocket& out = down ? link->desktop : link->service;
    for (;;) {
      std::string frame = co_await LoopbackServer::readText(in);
      if (!co_await mistreat(out, std::move(frame), later_[down ? 1 : 0])) co_return;
    }
  }
  /// False when the connection is to be cut.
  Awaitable<bool> mistreat(WebSocket& out, std::string frame, std::deque<std::string>& later) {
    if (happens(kCut)) {
      ++counts_.cut;
      co_await breakOff(out);
      co_return false;
    }
    if (happens(kDelay)) co_await sleep(std::chrono::milliseconds(draw(1, 4)));
    if (happens(kDrop)) {
      ++counts_.dropped;
      co_return true;
    }
    if (happens(kRepeat)) {
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
    if (happens(kKeepForLater)) {
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
  Awaitable<void> forward(WebSocket& out, const std::string& frame) {
    const bool fragmented = happens(kFragment);
    if (fragmented) ++counts_.fragmented;
    out.text(true);
    out.auto_fragment(fragmented);
    out.write_buffer_bytes(fragmented ? static_cast<std::size_t>(draw(8, 200)) : 4096);
    co_await out.async_write(asio::buffer(frame), asio::use_awaitable);
  }
  /// Half of the time after the first bytes of a frame of a hundred.
  Awaitable<void> breakOff(WebSocket& out) {
    if (happens(0.5)) co_await LoopbackServer::write(out.next_layer(), std::string("\x81\x64{\"type\":", 10));
  }
  bool happens(double share) { return !calm_ && std::bernoulli_distribution(share)(random_); }
  int draw(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }

  std::mt19937 random_;  ///< The proxy's thread only, as `later_`.
  asio::ip::tcp::endpoint service_;
  Counts counts_{};
  std::atomic<bool> calm_{false};
  std::deque<std::string> later_[2];  ///< For each direction; outlive connections.
  LoopbackServer server_{
      [this](LoopbackServer& server, LoopbackServer::Socket socket) { return serve(server, std::move(socket)); }};
};

constexpr int kDeliveries = 1000;
constexpr int kLanes = 16;  // More than may be pending, once their frames are repeated.
constexpr int kChunksBetweenCrashes = 8;
constexpr int kMostTries = 60;

std::uint32_t chosenSeed() {
  const char* const chosen = std::getenv("QUILLET_SEED");
  const auto seed =
      chosen != nullptr ? static_cast<std::uint32_t>(std::strtoul(chosen, nullptr, 10)) : std::random_device()();
  std::cout << "QUILLET_SEED=" << seed << std::endl;
  return seed;
}

/// A real phone, service, connection, handler and journal; a field in memory; chaos on the relay's socket.
class ChaosTest : public ConnectedDesk {
 protected:
  ChaosTest() {
    service.enrol(desk.keys, DevicePlatform::macos);
    service.enrol(pocket.keys, DevicePlatform::ios);
    service.pair(desk.identity().deviceId, pocket.peer.deviceId);
    desk.desktop.field().selectionShown = false;  // the lanes share it, so that the caret moves under all of them
    desk.desktop.afterChunk = [this](std::size_t) {
      if (random() % kChunksBetweenCrashes == 0) boost::asio::post(main.executor(), [this] { crashAndRestart(); });
    };
    startDesk();
  }

  void startDesk() {
    connect([this] { return proxy.through(api.relayRequest()); });
  }
  void crashAndRestart() {
    connection->stop();
    desk.crash();
    desk.start();
    startDesk();
    ++crashes;
  }

  Awaitable<void> pause() { return time.sleep(std::chrono::milliseconds(10 + random() % 30)); }

  /// Asks until there is a token or the desktop says no.
  Awaitable<std::optional<std::string>> prepared(std::string utteranceId) {
    for (int i = 0; i < kMostTries; ++i) {
      bool failed = false;
      try {
        const auto answer = co_await phone.prepare(desk.identity(), utteranceId);
        if (answer.token) co_return answer.token;
      } catch (const PhoneError&) {
        failed = true;
      }
      if (failed) co_await pause();
    }
    co_return std::nullopt;
  }
  /// Sends it, once or more often, and asks for the result; absent when none came in time.
  Awaitable<std::optional<ResultPayload>> said(std::string utteranceId, std::string token, int copies) {
    try {
      for (int i = 0; i < copies; ++i) {
        co_await phone.deliver(desk.identity(), utteranceId, token, " [" + utteranceId + "]");
      }
      co_return (co_await phone.wait(desk.identity(), utteranceId, 1s)).result;
    } catch (const PhoneError& error) {
      EXPECT_NE(error.exit, PhoneExit::verificationFailed);
      co_return std::nullopt;
    }
  }
  /// Repeats the delivery until there is an answer that isn't "try again".
  Awaitable<std::optional<ResultPayload>> answered(std::string utteranceId, std::string token, int copies) {
    for (int i = 0; i < kMostTries; ++i) {
      auto result = co_await said(utteranceId, token, copies);
      if (result && result->reason != RefusalReason::busy) co_return result;
      copies = 1;
      co_await pause();
    }
    co_return std::nullopt;
  }

  Awaitable<void> lane() {
    while (begun < kDeliveries) {
      const std::string id = "u" + std::to_string(begun++);
      const auto token = co_await prepared(id);
      EXPECT_TRUE(token) << id << " found no target";
      if (!token) continue;
      desk.desktop.field().write = random() % 4 == 0 ? FakeField::Write::fails : FakeField::Write::honest;
      const auto result = co_await answered(id, *token, random() % 8 == 0 ? 5 : 1);
      EXPECT_TRUE(result) << id << " was lost without an answer";
      if (!result) continue;
      told.emplace(id, result->outcome);
      if (random() % 8 == 0) {
        const auto again = co_await answered(id, *token, 1);
        EXPECT_EQ(again, result) << id << " was answered otherwise later";
      }
    }
    ++lanesDone;
  }

  std::size_t timesInField(const std::string& id) {
    const std::string text = desk.desktop.text(), sought = "[" + id + "]";
    std::size_t count = 0;
    for (auto at = text.find(sought); at != text.npos; at = text.find(sought, at + 1)) ++count;
    return count;
  }

  const std::uint32_t seed = chosenSeed();
  std::mt19937 random{seed};
  LoopbackService service{{.relay = {.prepare = 2s}}};
  ChaosProxy proxy{seed, service.endpoint()};
  APIClient api{service.url(), desk.keys, session};
  Phone phone{{.name = "Pocket", .service = service.url().text(), .macs = {{desk.identity(), 1}}},
              folder.path(),
              pocket.keys,
              session,
              time};
  std::map<std::string, InsertionOutcome> told;
  int begun = 0, lanesDone = 0, crashes = 0;
};

TEST_F(ChaosTest, AThousandDeliveriesAreInsertedOnceOrToldTruthfully) {
  std::vector<std::unique_ptr<Task>> lanes;
  for (int i = 0; i < kLanes; ++i) {
    lanes.push_back(std::make_unique<Task>(main.executor()));
    lanes.back()->start([this] { return lane(); });
  }
  ASSERT_TRUE(main.runUntil([&] { return lanesDone == kLanes; }, 240s)) << told.size() << " answered";
  proxy.calmDown();
  main.runUntil([] { return false; }, 1s);  // for what was kept for later

  std::map<InsertionOutcome, int> outcomes;
  for (const auto& [id, outcome] : told) {
    ++outcomes[outcome];
    const auto times = timesInField(id);
    EXPECT_LE(times, 1u) << id << " was inserted twice";
    if (outcome == InsertionOutcome::inserted) EXPECT_EQ(times, 1u) << id;
    if (outcome == InsertionOutcome::refused) EXPECT_EQ(times, 0u) << id;
  }
  EXPECT_EQ(told.size(), static_cast<std::size_t>(kDeliveries));
  EXPECT_GT(outcomes[InsertionOutcome::inserted], kDeliveries * 7 / 10);
  EXPECT_GT(outcomes[InsertionOutcome::uncertain], 0) << "never crashed while it typed";
  const auto& met = proxy.counts();
  EXPECT_TRUE(met.dropped > 0 && met.cut > 0 && met.repeated > 0 && met.keptForLater > 0 && met.fragmented > 0);
  std::cout << "inserted " << outcomes[InsertionOutcome::inserted] << ", uncertain "
            << outcomes[InsertionOutcome::uncertain] << ", crashes " << crashes << std::endl;
}

}  // namespace
}  // namespace quillet::test
