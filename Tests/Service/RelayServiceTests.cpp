// SPDX-License-Identifier: MIT
#include "Tests/Service/ServiceFixture.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
using State = DeliveryTransportState;

class RelayServiceTest : public ServiceTest {
 protected:
  RelayServiceTest() { pairThem(); }
  ~RelayServiceTest() override {
    if (connected_) service.relay.disconnected(macDevice, socket);
  }

  void connect() {
    connected_ = true;
    service.relay.connected(macDevice, socket);
  }
  PassedStatus submit(const std::string& utterance, const Envelope& envelope) {
    return service.relay.submit(phoneDevice, mac.id(), {utterance, envelope});
  }
  PassedStatus submit(const std::string& utterance) {
    return submit(utterance, sealed(EnvelopePurpose::delivery, phone, mac));
  }
  State stateOf(const std::string& utterance) { return start(wait(utterance, 0s))->response.value().state; }
  Awaitable<PassedStatus> wait(const std::string& utterance, std::chrono::seconds seconds) {
    return service.relay.status(phoneDevice, mac.id(), utterance, seconds);
  }
  void answer(const std::string& utterance, const Envelope& result) {
    frameFromDesktop(RelayClient::Result{utterance, phone.id(), result});
  }
  auto prepare(const std::string& requestId) {
    return start(
        service.relay.prepare(phoneDevice, mac.id(), {requestId, sealed(EnvelopePurpose::prepare, phone, mac)}));
  }

  FakeRelaySocket socket;
  bool connected_ = false;
};

TEST_F(RelayServiceTest, APrepareReturnsWithTheDesktopsAnswer) {
  connect();
  const auto call = prepare("r1");
  ASSERT_EQ(socket.all<RelayServer::Prepare>().size(), 1U);
  EXPECT_EQ(socket.all<RelayServer::Prepare>()[0].from, phone.id());
  const Envelope result = sealed(EnvelopePurpose::prepareResult, mac, phone);
  frameFromDesktop(RelayClient::PrepareResult{"r2", phone.id(), result});
  frameFromDesktop(RelayClient::PrepareResult{"r1", other.id(), sealed(EnvelopePurpose::prepareResult, mac, other)});
  frameFromDesktop(RelayClient::PrepareResult{"r1", phone.id(), sealed(EnvelopePurpose::result, mac, phone)});
  time.run();
  EXPECT_FALSE(call->ended()) << "none of these is the answer";
  frameFromDesktop(RelayClient::PrepareResult{"r1", phone.id(), result});
  time.run();
  ASSERT_TRUE(call->response);
  EXPECT_EQ(*call->response, JSONCoding::encode(result));
  EXPECT_EQ(service.hub.waiting(), 0U);
}

TEST_F(RelayServiceTest, APrepareFailsWhenTheDesktopIsAwaySilentOrLost) {
  EXPECT_EQ(prepare("r0")->refusal, "503 mac_offline");
  connect();
  const auto silent = prepare("r1");
  time.advance(10s - 1ms);
  EXPECT_FALSE(silent->ended());
  time.advance(1ms);
  EXPECT_EQ(silent->refusal, "504 mac_timeout");
  const auto lost = prepare("r2");
  service.relay.disconnected(macDevice, socket);
  time.run();
  EXPECT_EQ(lost->refusal, "503 mac_offline");
}

TEST_F(RelayServiceTest, OnlyPairedPhonesReachADesktop) {
  connect();
  const Envelope envelope = sealed(EnvelopePurpose::delivery, other, mac);
  EXPECT_EQ(refusalOf([&] { service.relay.submit(otherDevice, mac.id(), {"u", envelope}); }), "403 not_paired");
  EXPECT_EQ(refusalOf([&] { service.relay.submit(macDevice, mac.id(), {"u", envelope}); }), "403 wrong_platform");
  EXPECT_EQ(refusalOf([&] { service.relay.cancel(otherDevice, mac.id(), "u"); }), "403 not_paired");
  EXPECT_EQ(refusalOf([&] { start(service.relay.prepare(otherDevice, mac.id(), {"r", envelope})); }), "403 not_paired");
  EXPECT_EQ(start(service.relay.status(otherDevice, mac.id(), "u", 0s))->refusal, "403 not_paired");
  EXPECT_TRUE(socket.frames.empty());
  EXPECT_TRUE(service.relay.presence(otherDevice).macs.empty());
}

TEST_F(RelayServiceTest, AnEnvelopeMustBelongToItsRequest) {
  for (const Envelope& foreign :
       {sealed(EnvelopePurpose::delivery, other, mac), sealed(EnvelopePurpose::delivery, phone, other),
        sealed(EnvelopePurpose::prepare, phone, mac)}) {
    EXPECT_EQ(refusalOf([&] { submit("u", foreign); }), "400 bad_request");
  }
  for (const std::string& id : {std::string(), std::string("a/b"), std::string("a?b"), std::string(129, 'u')}) {
    EXPECT_EQ(refusalOf([&] { submit(id); }), "400 bad_request") << id;
  }
}

TEST_F(RelayServiceTest, DeliveriesWaitForTheDesktopAndGoOutInOrder) {
  EXPECT_EQ(stateOf("u1"), State::unknown);
  EXPECT_EQ(submit("u1").state, State::queued);
  EXPECT_FALSE(submit("u2").macOnline);
  connect();
  const auto sent = socket.all<RelayServer::Deliver>();
  ASSERT_EQ(sent.size(), 2U);
  EXPECT_EQ(sent[0].utteranceId, "u1");
  EXPECT_EQ(sent[1].utteranceId, "u2");
  EXPECT_EQ(sent[0].from, phone.id());
  frameFromDesktop(RelayClient::Received{"u1"});
  EXPECT_EQ(stateOf("u1"), State::received);
  EXPECT_EQ(stateOf("u2"), State::queued);
  EXPECT_TRUE(submit("u3").macOnline);
  EXPECT_EQ(socket.all<RelayServer::Deliver>().size(), 3U);
}

TEST_F(RelayServiceTest, ReceivedCountsForEveryPhonesDeliveryOfThatUtterance) {
  service.pairDirectory.add({mac.id(), other.id(), time.wall});
  submit("u");
  service.relay.submit(otherDevice, mac.id(), {"u", sealed(EnvelopePurpose::delivery, other, mac)});
  frameFromDesktop(RelayClient::Received{"u"});
  EXPECT_EQ(stateOf("u"), State::received);
  EXPECT_EQ(start(service.relay.status(otherDevice, mac.id(), "u", 0s))->response->state, State::received);
}

TEST_F(RelayServiceTest, WithoutAResultADeliveryGoesOutOnEachNewSocket) {
  connect();
  submit("u");
  frameFromDesktop(RelayClient::Received{"u"});
  FakeRelaySocket second;
  service.relay.connected(macDevice, second);
  EXPECT_TRUE(socket.closedWith) << "the newer socket replaces the older";
  EXPECT_EQ(second.all<RelayServer::Deliver>().size(), 1U);
  service.relay.disconnected(macDevice, socket);
  EXPECT_TRUE(service.hub.isOnline(mac.id())) << "the older one's end changes nothing";
  answer("u", sealed(EnvelopePurpose::result, mac, phone));
  FakeRelaySocket third;
  service.relay.connected(macDevice, third);
  EXPECT_TRUE(third.frames.empty());
  service.relay.disconnected(macDevice, third);
}

TEST_F(RelayServiceTest, TheSameEnvelopeIsOneAttemptAndANewOneIsAnother) {
  connect();
  const Envelope first = sealed(EnvelopePurpose::delivery, phone, mac);
  submit("u", first);
  submit("u", first);
  EXPECT_EQ(socket.all<RelayServer::Deliver>().size(), 1U);
  const Envelope result = sealed(EnvelopePurpose::result, mac, phone);
  answer("u", result);
  const auto repeated = submit("u", first);
  EXPECT_EQ(repeated.state, State::result);
  EXPECT_EQ(repeated.resultEnvelope, JSONCoding::encode(result));
  EXPECT_EQ(submit("u").state, State::queued);
  EXPECT_EQ(socket.all<RelayServer::Deliver>().size(), 2U);
}

TEST_F(RelayServiceTest, AWaitEndsWithTheResultOrItsLimit) {
  connect();
  submit("u");
  const auto call = start(wait("u", 20s));
  const auto impatient = start(wait("u", 5s));
  const auto patient = start(wait("u", 3600s));
  frameFromDesktop(RelayClient::Received{"u"});
  time.advance(5s);
  ASSERT_TRUE(impatient->response);
  EXPECT_EQ(impatient->response->state, State::received);
  EXPECT_FALSE(call->ended());
  const Envelope result = sealed(EnvelopePurpose::result, mac, phone);
  answer("u", sealed(EnvelopePurpose::result, mac, other));
  answer("u", result);
  time.run();
  ASSERT_TRUE(call->response && patient->response);
  EXPECT_EQ(call->response->state, State::result);
  EXPECT_EQ(call->response->resultEnvelope, JSONCoding::encode(result));
  EXPECT_TRUE(start(wait("u", 20s))->ended()) << "there is nothing to wait for";

  submit("v");
  const auto capped = start(wait("v", 3600s));
  time.advance(59s);
  EXPECT_FALSE(capped->ended());
  time.advance(1s);
  EXPECT_TRUE(capped->ended());
  EXPECT_EQ(service.hub.waiting(), 0U);
}

TEST_F(RelayServiceTest, OnlyWhatNeverLeftCanBeCancelled) {
  submit("early");
  const auto waiting = start(wait("early", 20s));
  EXPECT_EQ(service.relay.cancel(phoneDevice, mac.id(), "early").state, State::cancelled);
  time.run();
  ASSERT_TRUE(waiting->response);
  EXPECT_EQ(waiting->response->state, State::cancelled);
  EXPECT_EQ(submit("early").state, State::cancelled) << "a late submission doesn't revive it";
  submit("late");
  connect();
  ASSERT_EQ(socket.all<RelayServer::Deliver>().size(), 1U);
  EXPECT_EQ(service.relay.cancel(phoneDevice, mac.id(), "late").state, State::queued);
  EXPECT_EQ(service.relay.cancel(phoneDevice, mac.id(), "never").state, State::unknown);
}

TEST_F(RelayServiceTest, HousekeepingExpiresAndForgetsByItself) {
  Task housekeeping(time.executor());
  housekeeping.start([this] { return service.keepHouse(); });
  submit("u");
  const auto created = service.pairing.create(macDevice, {freshKey(), "Desk"});
  time.advance(1h);
  const auto waiting = start(wait("u", 60s));
  EXPECT_EQ(stateOf("u"), State::queued);
  time.advance(31s);
  ASSERT_TRUE(waiting->response);
  EXPECT_EQ(waiting->response->state, State::expired);
  connect();
  EXPECT_TRUE(socket.frames.empty());
  time.advance(24h);
  EXPECT_EQ(stateOf("u"), State::expired);
  time.advance(31s);
  EXPECT_EQ(stateOf("u"), State::unknown);
  EXPECT_EQ(refusalOf([&] { service.pairing.status(macDevice, created.sessionId); }), "404 not_found");
  housekeeping.cancel();
}

TEST_F(RelayServiceTest, TheQueueOfADesktopIsBoundedInBytesAndInNumber) {
  const Envelope large = sealed(EnvelopePurpose::delivery, phone, mac, std::string(700'000, 'x'));
  for (int i = 0; i < 4; ++i) submit("large" + std::to_string(i), large);
  EXPECT_EQ(refusalOf([&] { submit("large5", large); }), "429 queue_full");
  submit("large3", sealed(EnvelopePurpose::delivery, phone, mac, std::string(700'000, 'y')));
  const Envelope larger = sealed(EnvelopePurpose::delivery, phone, mac, std::string(1'000'000, 'x'));
  EXPECT_EQ(refusalOf([&] { submit("large3", larger); }), "429 queue_full") << "sealing anew makes no room";
  Envelope unusual = sealed(EnvelopePurpose::delivery, phone, mac);
  for (int i = 0; i < 200'000; ++i) unusual.box += "é";
  EXPECT_EQ(refusalOf([&] { submit("unusual", unusual); }), "429 queue_full") << "bytes count, not characters";
  int taken = 4;
  while (taken < 1000 && refusalOf([&] { submit("small" + std::to_string(taken)); }).empty()) ++taken;
  EXPECT_EQ(taken, RelayLimits{}.backlogCount);
  EXPECT_EQ(submit("small5").state, State::queued) << "a full queue still takes another envelope for what is in it";
}

TEST_F(RelayServiceTest, PresenceIsStoredForPairedPhonesOnly) {
  connect();
  time.advance(5s);
  const Envelope readiness = sealed(EnvelopePurpose::readiness, mac, phone);
  const Envelope toStranger = sealed(EnvelopePurpose::readiness, mac, other);
  frameFromDesktop(RelayClient::Presence{{{phone.id(), readiness}, {other.id(), toStranger}}});
  service.pairDirectory.add({mac.id(), other.id(), time.wall});
  auto macs = service.relay.presence(phoneDevice).macs;
  ASSERT_EQ(macs.size(), 1U);
  EXPECT_TRUE(macs[0].online);
  EXPECT_EQ(macs[0].lastSeenAt, time.wall + 5000);
  ASSERT_TRUE(macs[0].readiness);
  EXPECT_EQ(macs[0].readiness->envelope, JSONCoding::encode(readiness));
  EXPECT_EQ(macs[0].readiness->at, time.wall + 5000);
  EXPECT_FALSE(service.relay.presence(otherDevice).macs.at(0).readiness) << "it wasn't paired when that was sent";
}

TEST_F(RelayServiceTest, AnEnvelopeIsPassedOnAsItsBytesCame) {
  connect();
  const auto odd = [&](EnvelopePurpose purpose, const Party& from, const Party& to) {
    const std::string text = JSONCoding::encode(sealed(purpose, from, to));
    return "{\"new\" : [1.50, \"\\u00e9 \\\" } \"],\t" + text.substr(1);
  };
  const std::string prepare = odd(EnvelopePurpose::prepare, phone, mac);
  const auto call = start(service.relay.prepare(
      phoneDevice, mac.id(),
      PassedPrepare::parse(R"({"envelope":{"v":0}, "requestId" : "r", "env\u0065lope" : )" + prepare + " }")));
  EXPECT_NE(socket.frames.back().find("\"envelope\":" + prepare + ","), std::string::npos) << socket.frames.back();
  const std::string prepared = odd(EnvelopePurpose::prepareResult, mac, phone);
  service.relay.handleFrame(mac.id(), R"({"type":"prepareResult","requestId":"r","to":")" + phone.id() +
                                          R"(","envelope": )" + prepared + "}");
  time.run();
  EXPECT_EQ(call->response, prepared);

  const std::string delivered = odd(EnvelopePurpose::delivery, phone, mac);
  service.relay.submit(phoneDevice, mac.id(),
                       PassedDelivery::parse(R"({"utteranceId":"u","envelope":)" + delivered + "}"));
  EXPECT_NE(socket.frames.back().find("\"envelope\":" + delivered + ","), std::string::npos);
  const std::string result = odd(EnvelopePurpose::result, mac, phone);
  service.relay.handleFrame(
      mac.id(), R"({"envelope":)" + result + R"(,"type":"result","utteranceId":"u","to":")" + phone.id() + "\"}");
  EXPECT_NE(start(wait("u", 0s))->response->json().find("\"resultEnvelope\":" + result + ","), std::string::npos);

  const std::string readiness = odd(EnvelopePurpose::readiness, mac, phone);
  const std::string foreign = JSONCoding::encode(sealed(EnvelopePurpose::readiness, mac, other));
  service.relay.handleFrame(mac.id(), R"({"type":"presence","updates":[ {"to":"x","envelope":)" + foreign +
                                          R"(} , {"to":")" + phone.id() + R"(","envelope":)" + readiness + "}]}");
  EXPECT_NE(service.relay.presence(phoneDevice).json().find(readiness), std::string::npos);
}

TEST_F(RelayServiceTest, ARevokedPairsDeliveriesAreGoneAndTheRevokerIsNotTold) {
  connect();
  submit("u");
  service.devices.removePair(phoneDevice, mac.id());
  pairThem();
  EXPECT_EQ(stateOf("u"), State::unknown);
  service.devices.removePair(macDevice, phone.id());
  EXPECT_EQ(socket.all<RelayServer::PairRevoked>().size(), 1U) << "the desktop knows what it asked for";
}

/// One who waits for a delivery, and what it left behind.
struct Waiting {
  Waiting(VirtualTime& time, RelayHub& hub) : task(time.executor()) {
    task.start([this, &hub, held = alive](Task::Token) -> Awaitable<void> {
      co_await hub.waitForDelivery({"mac", "phone", "u"}, 20s);
      ++ended;
      if (then) then();
    });
    time.run();
  }
  bool gone() const { return alive.use_count() == 1; }

  std::shared_ptr<int> alive = std::make_shared<int>();
  int ended = 0;
  std::function<void()> then;
  Task task;
};

TEST(RelayHubTest, WhoWaitsMayBeCancelledAtAnyMoment) {
  VirtualTime time;
  RelayHub hub(time.executor(), time.source());
  Waiting early(time, hub), first(time, hub), second(time, hub);
  early.task.cancel();
  time.run();
  EXPECT_TRUE(early.gone());
  EXPECT_EQ(hub.waiting(), 2U);

  // Whichever goes on first ends the other, which has been woken with it.
  first.then = [&] { second.task.cancel(); };
  second.then = [&] { first.task.cancel(); };
  hub.deliveryChanged({"mac", "phone", "u"});
  time.run();
  EXPECT_TRUE(first.gone() && second.gone());
  EXPECT_GE(first.ended + second.ended, 1);
  EXPECT_EQ(hub.waiting(), 0U);
  hub.shutDown();
  time.run();
}

TEST(RelayHubTest, WhoStillWaitsGoesWithTheHub) {
  VirtualTime time;
  auto hub = std::make_unique<RelayHub>(time.executor(), time.source());
  Waiting waiting(time, *hub), another(time, *hub);
  EXPECT_FALSE(waiting.gone());
  hub.reset();
  time.run();
  EXPECT_TRUE(waiting.gone() && another.gone());
  EXPECT_EQ(waiting.ended, 0);
}

}  // namespace
}  // namespace quillet::test
