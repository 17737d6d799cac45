// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Relay/RelayConnection.h"

#include "Tests/Doubles/FakeSystemEvents.h"
#include "Tests/Doubles/FakeWebSocket.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/VirtualTime.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
using Phase = RelayConnection::Phase;
using State = RelayConnection::State;
using Reconnecting = RelayConnection::Reconnecting;

class RelayConnectionTest : public testing::Test {
 protected:
  VirtualTime time;
  FakeSystemEvents system;
  std::vector<std::shared_ptr<FakeWebSocket::Line>> lines;
  bool signingFails = false;
  double jitter = 1.0;
  std::vector<std::string> events;
  std::shared_ptr<RelayConnection> relay = makeRelay();

  ~RelayConnectionTest() override {
    relay.reset();
    time.run();
  }

  std::shared_ptr<RelayConnection> makeRelay() {
    auto made = std::make_shared<RelayConnection>(
        time.executor(),
        [this]() -> HTTPRequest {
          if (signingFails) throw std::runtime_error("no key");
          return {};
        },
        [this](HTTPRequest request, std::size_t size) {
          auto line = lines.emplace_back(std::make_shared<FakeWebSocket::Line>());
          line->request = std::move(request);
          line->maximumMessageSize = size;
          return std::make_unique<FakeWebSocket>(line);
        },
        system, time.source(), [this] { return jitter; });
    made->onMessage = [this](const RelayServerMessage& message) {
      const auto* paired = std::get_if<RelayServer::Paired>(&message);
      events.push_back(paired ? "paired " + paired->peerDeviceId : "other");
    };
    made->onConnected = [this] { events.push_back("connected"); };
    made->onAuthenticationRejected = [this] { events.push_back("rejected"); };
    made->onWillSleep = [this] { events.push_back(relay->send(frame) ? "sleep, sent" : "sleep, not sent"); };
    return made;
  }

  FakeWebSocket::Line& line() { return *lines.back(); }
  State state() const { return relay->state().get(); }
  State planned(std::chrono::milliseconds delay) { return Reconnecting{time.source().now() + delay.count()}; }

  void open() {
    relay->start();
    time.run();
  }
  void connect() {
    open();
    line().complete(true);
    ASSERT_EQ(state(), State(Phase::connected));
  }
  void fail(std::optional<int> status = {}) {
    line().fail(status);
    time.run();
  }

  const RelayClientMessage frame = RelayClient::Received{"u-1"};
};

TEST_F(RelayConnectionTest, ConnectsOnceAndProvesTheSocketByThePingThatWasWritten) {
  EXPECT_EQ(state(), State(Phase::stopped));
  relay->start();
  relay->start();
  time.run();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(line().resumed);
  EXPECT_EQ(line().maximumMessageSize, 1'048'576u);
  EXPECT_EQ(line().sent, std::vector<std::string>{"ping"});
  EXPECT_EQ(state(), State(Phase::connecting));
  EXPECT_FALSE(relay->send(frame));
  EXPECT_FALSE(relay->hasEverConnected().get());
  line().complete(true);
  EXPECT_EQ(state(), State(Phase::connected));
  EXPECT_EQ(relay->lastConnectedAt().get(), time.source().now());
  EXPECT_TRUE(relay->send(frame));
  EXPECT_EQ(line().sent.back(), R"({"type":"received","utteranceId":"u-1"})");
  relay->stop();
  EXPECT_TRUE(relay->hasEverConnected().get());
  EXPECT_EQ(line().cancelledWith, 1001);
  EXPECT_TRUE(line().destroyed);
  EXPECT_EQ(system.observers(), 0u);
  EXPECT_EQ(events, std::vector<std::string>{"connected"});
}

TEST_F(RelayConnectionTest, AnyFirstFrameConnectsAndBadFramesAreDropped) {
  open();
  line().complete(false);
  EXPECT_EQ(state(), State(Phase::connecting)) << "a ping that failed proves nothing";
  line().deliver("pong");
  time.run();
  EXPECT_EQ(state(), State(Phase::connected));
  line().deliver("\xff\xfe", false);
  line().deliver("not json");
  line().deliver(R"({"type":"paired","peerDeviceId":"a"})", false);
  line().deliver(R"({"type":"paired","peerDeviceId":"b"})");
  time.run();
  EXPECT_EQ(events, (std::vector<std::string>{"connected", "paired a", "paired b"}));
  EXPECT_TRUE(LogCapture::instance().contains("Ignoring an undecodable relay frame"));
  EXPECT_EQ(lines.size(), 1u);
}

TEST_F(RelayConnectionTest, BacksOffAndForgetsItOnceConnected) {
  relay->start();
  for (const int seconds : {1, 2, 4, 8, 16, 32, 60, 60}) {
    time.run();
    fail();
    EXPECT_EQ(line().cancelledWith, 1006);
    ASSERT_EQ(state(), planned(std::chrono::seconds(seconds)));
    const auto made = lines.size();
    time.advance(std::chrono::seconds(seconds) - 1ms);
    EXPECT_EQ(lines.size(), made);
    time.advance(1ms);
    ASSERT_EQ(lines.size(), made + 1);
  }
  line().complete(true);
  jitter = 0.5;
  fail();
  EXPECT_EQ(state(), planned(500ms));
}

TEST_F(RelayConnectionTest, ARefusalIsToldBeforeTheRetryIsPlanned) {
  relay->onAuthenticationRejected = [this] {
    events.push_back("rejected");
    EXPECT_EQ(state(), State(Phase::connecting));
  };
  open();
  fail(401);
  EXPECT_EQ(state(), planned(1s));
  time.advance(1s);
  fail(403);
  time.advance(2s);
  fail(502);
  time.advance(4s);
  EXPECT_EQ(events, (std::vector<std::string>{"rejected", "rejected"}));
}

TEST_F(RelayConnectionTest, ARefusalThatStartsOverIsNotPlannedTwice) {
  relay->onAuthenticationRejected = [this] { relay->reconnectNow(); };
  open();
  fail(401);
  EXPECT_EQ(lines.size(), 2u);
  EXPECT_EQ(state(), State(Phase::connecting));
  EXPECT_EQ(time.sleepers(), 0u);
}

TEST_F(RelayConnectionTest, FindsADeadLinkWithinThirtySeconds) {
  connect();
  time.advance(20s);
  EXPECT_EQ(line().sent.size(), 2u);
  line().deliver(R"({"type":"paired","peerDeviceId":"a"})");
  time.advance(10s);
  EXPECT_EQ(state(), State(Phase::connected)) << "any frame proves the link";
  time.advance(20s);
  EXPECT_EQ(line().sent.size(), 3u);
  line().deliver("\xff\xfe", false);  // bytes that are no text prove nothing
  time.advance(10s - 1ms);
  EXPECT_EQ(state(), State(Phase::connected));
  time.advance(1ms);
  EXPECT_EQ(state(), planned(1s));
  EXPECT_EQ(lines.front()->cancelledWith, 1006);
  EXPECT_TRUE(LogCapture::instance().contains("No pong from relay; reconnecting"));
}

TEST_F(RelayConnectionTest, AFailedSendIsASocketFailureOnlyWhileTheSocketIsCurrent) {
  connect();
  relay->send(frame);
  auto old = lines.front();
  auto late = old->completions;
  old->complete(false);
  EXPECT_EQ(state(), planned(1s));
  time.advance(1s);
  line().complete(true);
  late.back()(false);
  old->fail(401);
  time.run();
  EXPECT_EQ(state(), State(Phase::connected));
  EXPECT_EQ(events, (std::vector<std::string>{"connected", "connected"}));
}

TEST_F(RelayConnectionTest, SleepsAfterOneLastFrameAndWakesAtOnce) {
  connect();
  system.sleep();
  EXPECT_EQ(events.back(), "sleep, sent");
  EXPECT_EQ(line().cancelledWith, 1001);
  EXPECT_TRUE(system.sleepWaits()) << "the frame is still on its way";
  line().untilClosed.reset();
  EXPECT_FALSE(system.sleepWaits());
  EXPECT_EQ(state(), State(Phase::offline));
  system.network(false);
  relay->reconnectNow();
  time.advance(1h);
  EXPECT_EQ(lines.size(), 1u);
  system.wake();
  EXPECT_EQ(state(), State(Phase::offline)) << "the network that was lost in the sleep is still away";
  system.network(true);
  EXPECT_EQ(state(), State(Phase::connecting));
  EXPECT_EQ(lines.size(), 2u);
  relay->stop();
  system.wake();
  EXPECT_EQ(lines.size(), 2u);
}

TEST_F(RelayConnectionTest, WaitsForTheNetworkWithoutATimer) {
  system.announcedAtOnce = false;
  open();
  EXPECT_EQ(state(), State(Phase::offline));
  system.network(true);
  time.run();
  fail();
  EXPECT_EQ(state(), planned(1s));
  system.network(false);
  EXPECT_EQ(state(), State(Phase::offline));
  time.advance(1h);
  EXPECT_EQ(lines.size(), 1u);
  EXPECT_EQ(time.sleepers(), 0u);
  relay->stop();
  system.announcedAtOnce = true;
  relay->start();
  EXPECT_EQ(lines.size(), 2u) << "one socket, also when the network comes back within start";
}

TEST_F(RelayConnectionTest, ProbesALivePathThatChanged) {
  connect();
  time.advance(1s);
  system.network(true);
  EXPECT_EQ(line().sent, (std::vector<std::string>{"ping", "ping"}));
  line().deliver("pong");
  time.advance(10s);
  EXPECT_EQ(state(), State(Phase::connected));
  system.network(true);
  time.advance(10s);
  EXPECT_EQ(state(), planned(1s));
  EXPECT_EQ(line().cancelledWith, 1006);
  system.network(true);
  EXPECT_EQ(lines.size(), 1u) << "a planned reconnect finds its own way";
}

TEST_F(RelayConnectionTest, AnUnsignedRequestIsRetriedWithoutASocket) {
  LogCapture::instance().expect("Could not sign the relay request");
  signingFails = true;
  relay->start();
  for (const auto wait : {1s, 2s, 4s}) {
    time.run();
    EXPECT_EQ(state(), planned(wait));
    time.advance(wait - 1ms);
    EXPECT_TRUE(lines.empty());
    if (wait == 4s) signingFails = false;
    time.advance(1ms);
  }
  EXPECT_EQ(lines.size(), 1u);
}

TEST_F(RelayConnectionTest, NothingFiresAfterItsEnd) {
  connect();
  auto old = lines.front();
  relay->send(frame);
  system.network(true);
  relay.reset();
  EXPECT_EQ(old->cancelledWith, 1001);
  old->complete(false);
  old->deliver(R"({"type":"paired","peerDeviceId":"a"})");
  time.advance(1h);
  EXPECT_EQ(events, std::vector<std::string>{"connected"});
  EXPECT_EQ(lines.size(), 1u);
}

TEST_F(RelayConnectionTest, CallbacksMayStopIt) {
  relay->onConnected = [this] { relay->stop(); };
  open();
  line().complete(true);
  time.advance(1min);
  EXPECT_EQ(state(), State(Phase::stopped));
  EXPECT_EQ(time.sleepers(), 0u);
}

TEST(BackoffTest, StaysWithinItsBounds) {
  using Case = std::tuple<int, double, double>;
  for (const auto& [attempt, jitter, delay] :
       {Case{0, 0.5, 0.5}, {3, 1, 8}, {9, 1, 60}, {99, 0.5, 30}, {0, 0, 0.1}, {2, 7, 4}, {2, -1, 0.1}}) {
    Backoff backoff{1, 60, attempt};
    EXPECT_DOUBLE_EQ(backoff.nextDelay(jitter), delay) << attempt << " " << jitter;
    EXPECT_EQ(backoff.attempt, attempt + 1);
  }
  for (int i = 0; i < 100; ++i) {
    const double drawn = Backoff::drawJitter();
    EXPECT_TRUE(drawn >= 0.5 && drawn <= 1.0) << drawn;
  }
}

}  // namespace
}  // namespace quillet::test
