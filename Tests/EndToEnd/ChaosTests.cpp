// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <map>

#include "QuilletCompanion/Relay/RelayConnection.h"
#include "QuilletPhone/Phone.h"
#include "Tests/Doubles/FakeSystemEvents.h"
#include "Tests/Doubles/LoopbackService.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/EndToEnd/ChaosProxy.h"
#include "Tests/EndToEnd/Desk.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;

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
class ChaosTest : public testing::Test {
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
  ~ChaosTest() override {
    connection->stop();
    desk.crash();
    main.runUntil([this] { return desk.isQuiet(); });
    settle(main, network);
  }

  void startDesk() {
    connection = std::make_shared<RelayConnection>(
        main.executor(), [this] { return proxy.through(api.relayRequest()); },
        [this](HTTPRequest request, std::size_t size) {
          return makeWebSocketTask(session, main.executor(), std::move(request), size);
        },
        system, time, [] { return 0.0; });
    connection->onMessage = [this](const RelayServerMessage& message) { desk.handler->handle(message); };
    desk.handler->setTransport(connection);
    connection->start();
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
  ChaosProxy proxy{seed, service.endpoint(), {}};
  TemporaryFolder folder;
  FakeSystemEvents system;
  MainThread main;
  NetworkThread network;
  TimeSource time = systemTime(network.executor());
  HTTPSession session{network.executor()};
  SealingPhone pocket;
  Desk desk{main.executor(), time, folder.path(), pocket.peer};
  APIClient api{service.url(), desk.keys, session};
  Phone phone{{.name = "Pocket", .service = service.url().text(), .macs = {{desk.identity(), 1}}},
              folder.path(),
              pocket.keys,
              session,
              time};
  std::shared_ptr<RelayConnection> connection;
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
