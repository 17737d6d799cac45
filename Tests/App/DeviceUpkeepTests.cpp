// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/DeviceUpkeep.h"

#include "QuilletCompanion/App/FeedbackForm.h"
#include "Tests/App/AppModelHarness.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/RelayEnds.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;
using test::FakeService;
using test::readText;
using test::writeText;

class DeviceUpkeepTest : public test::AppModelTest {
 protected:
  /// The service goes through a spell of failing, and the relay comes back.
  void reconnect() {
    const std::size_t before = service.count(kPairs);
    service.dropRelay();
    ASSERT_TRUE(until([&] { return !isConnected(); }));
    time.advance(1s);
    ASSERT_TRUE(until([&] { return isConnected() && service.count(kPairs) > before; }));
    settle();
  }
  std::vector<std::string> pending() { return defaults.strings("pendingRevocations"); }
  static std::string revocation(const std::string& id) { return "DELETE /v1/pairs/" + id; }
  bool isPeer(const DeviceIdentity& who) { return model->peerStore().peer(who.deviceId()).has_value(); }

  const DeviceIdentity other = DeviceIdentity::generate();
};

TEST_F(DeviceUpkeepTest, ANewNameReachesPhonesAtOnceAndTheServiceWhenItCan) {
  havePeer(phone, time.wall);
  listPairs({phone.deviceId()});
  service.set(kRename, FakeService::error(503, "busy"));
  connect();
  for (const char* nothing : {" \n\t ", "desk", "  desk ", "\xff"}) EXPECT_FALSE(model->rename(nothing)) << nothing;
  EXPECT_FALSE(defaults.boolean("pendingRename"));
  EXPECT_TRUE(model->rename("  " + std::string(65, 'x') + " "));
  EXPECT_EQ(model->macName().get(), std::string(64, 'x'));
  EXPECT_EQ(defaults.string("macName"), std::string(64, 'x'));
  ASSERT_TRUE(until([&] { return service.count(kRename) == 1 && reports().back().macName == std::string(64, 'x'); }));
  settle();
  EXPECT_TRUE(defaults.boolean("pendingRename"));
  service.set(kRename, {});
  reconnect();
  EXPECT_EQ(service.count(kRename), 2u);
  EXPECT_FALSE(defaults.boolean("pendingRename"));
  reconnect();
  EXPECT_EQ(service.count(kRename), 2u);
}

TEST_F(DeviceUpkeepTest, ANameGivenWhileAnotherIsSentIsNotForgotten) {
  connect();
  service.hold(kRename);
  model->rename("First");
  ASSERT_TRUE(until([&] { return service.count(kRename) == 1; }));
  model->rename("Second");
  time.run();
  service.release(kRename);
  ASSERT_TRUE(until([&] { return service.count(kRename) == 2 && !defaults.boolean("pendingRename"); }));
  EXPECT_EQ(service.bodies(kRename).back(), R"({"name":"Second"})");
}

TEST_F(DeviceUpkeepTest, ARevokedPhoneIsGoneAtOnceAndTheServiceHearsOfItLater) {
  havePeer(phone, time.wall);
  havePeer(other, time.wall, "Old phone");
  listPairs({phone.deviceId(), other.deviceId()});
  connect();
  for (const auto* device : {&phone, &other}) {
    service.set(revocation(device->deviceId()), FakeService::error(500, "down"));
  }
  EXPECT_FALSE(await(model->revoke(phone.deviceId())));
  EXPECT_FALSE(isPeer(phone));
  EXPECT_TRUE(isPeer(other));
  EXPECT_EQ(model->serverPairs().get().size(), 1u);
  EXPECT_FALSE(await(model->revoke(phone.deviceId())));
  EXPECT_EQ(pending(), std::vector{phone.deviceId()});
  EXPECT_FALSE(await(model->revoke(other.deviceId())));
  service.set(kRename, FakeService::error(500, "down"));
  model->rename("Attic");
  settle();
  EXPECT_EQ(pending().size(), 2u);
  service.set(revocation(phone.deviceId()), FakeService::error(403, "forbidden"));
  reconnect();
  EXPECT_EQ(pending(), std::vector{other.deviceId()});
  service.set(revocation(other.deviceId()), FakeService::error(404, "not_found"));
  reconnect();
  EXPECT_TRUE(pending().empty());
  EXPECT_TRUE(defaults.boolean("pendingRename"));
}

TEST_F(DeviceUpkeepTest, ARevocationIsLocalBeforeTheServiceAnswersAndSurvivesBeingGivenUp) {
  connectWith(phone);
  const std::string route = revocation(phone.deviceId());
  service.hold(route);
  {
    Task task(time.executor());
    task.start([this]() -> Awaitable<void> { co_await model->revoke(phone.deviceId()); });
    ASSERT_TRUE(until([&] { return service.count(route) == 1; }));
    EXPECT_FALSE(isPeer(phone));
    EXPECT_EQ(pending(), std::vector{phone.deviceId()}) << "a crash now would lose it";
  }
  time.run();
  EXPECT_EQ(pending(), std::vector{phone.deviceId()});
  service.release(route);
  reconnect();
  EXPECT_TRUE(pending().empty());
  service.set(route, FakeService::error(404, "not_found"));
  EXPECT_TRUE(await(model->revoke(phone.deviceId())));
  EXPECT_TRUE(pending().empty());
}

TEST_F(DeviceUpkeepTest, ARevocationUnderWayOutlivesTheEndOfTheProgram) {
  connectWith(phone);
  service.hold(revocation(phone.deviceId()));
  run([](auto revoked) -> Awaitable<void> { co_await std::move(revoked); }(model->revoke(phone.deviceId())));
  ASSERT_TRUE(until([&] { return service.count(revocation(phone.deviceId())) == 1; }));
  model->stopServices();
  time.run();
  EXPECT_EQ(pending(), std::vector{phone.deviceId()});
  EXPECT_FALSE(isPeer(phone));
}

TEST_F(DeviceUpkeepTest, ARevocationOfAnEarlierPairingIsNotTriedAgain) {
  connectWith(phone);
  const auto paired = [&] { defaults.remove("pendingRevocations"); };  // as a new pairing does for its phone
  service.set(revocation(phone.deviceId()), FakeService::error(500, "down"));
  service.hold(revocation(phone.deviceId()));
  bool ended = false;
  run([](auto revoked, bool& end) -> Awaitable<void> {
    EXPECT_FALSE(co_await std::move(revoked));
    end = true;
  }(model->revoke(phone.deviceId()), ended));
  ASSERT_TRUE(until([&] { return service.count(revocation(phone.deviceId())) == 1; }));
  paired();
  service.release(revocation(phone.deviceId()));
  ASSERT_TRUE(until([&] { return ended; }));
  EXPECT_TRUE(pending().empty());
  defaults.set("pendingRevocations", boost::json::array{phone.deviceId(), other.deviceId()});
  service.hold(revocation(phone.deviceId()));
  model->rename("Attic");
  ASSERT_TRUE(until([&] { return service.count(revocation(phone.deviceId())) == 2; }));
  paired();
  service.release(revocation(phone.deviceId()));
  reconnect();
  EXPECT_EQ(service.count(revocation(other.deviceId())), 0u);
}

TEST_F(DeviceUpkeepTest, DropsPeersThatTheServiceDoesNotListAfterTwoMinutes) {
  havePeer(phone, time.wall - 121'000);
  havePeer(other, time.wall - 119'000);
  connect();
  EXPECT_FALSE(isPeer(phone));
  EXPECT_TRUE(isPeer(other));
  service.set(kPairs, {502, "<html>"});
  time.wall += 10'000;
  reconnect();
  EXPECT_TRUE(isPeer(other));
  service.set(kPairs, {200, R"({"pairs":[]})"});
  service.push(RelayServer::Paired{"any"});
  ASSERT_TRUE(until([&] { return !isPeer(other); }));
}

TEST_F(DeviceUpkeepTest, EndsPairsThatItNeverStored) {
  havePeer(other);
  listPairs({other.deviceId(), phone.deviceId()});
  service.set(revocation(phone.deviceId()), FakeService::error(500, "down"));
  connect();
  ASSERT_TRUE(until([&] { return service.count(revocation(phone.deviceId())) > 0; }));
  EXPECT_EQ(model->serverPairs().get().size(), 2u);
  service.set(revocation(phone.deviceId()), {});
  reconnect();
  EXPECT_TRUE(until([&] { return model->serverPairs().get().size() == 1; })) << "a failure isn't the last word";
  EXPECT_EQ(service.count(revocation(other.deviceId())), 0u);
}

TEST_F(DeviceUpkeepTest, EndsNoPairWhileItDoesNotKnowWhatItHolds) {
  test::LogCapture::instance().expect("Could not read paired devices; keeping the file untouched");
  writeText(folder.path() / "peers.json", R"({"peers":[{"identity":{)");
  listPairs({phone.deviceId()});
  connect();
  reconnect();
  EXPECT_EQ(service.count(revocation(phone.deviceId())), 0u);
}

TEST_F(DeviceUpkeepTest, ARevocationByThePhoneIsNotToldBack) {
  connectWith(phone);
  service.push(RelayServer::PairRevoked{phone.deviceId()});
  ASSERT_TRUE(until([&] { return !isPeer(phone); }));
  EXPECT_TRUE(model->serverPairs().get().empty());
  settle();
  EXPECT_EQ(service.count(revocation(phone.deviceId())), 0u);
}

TEST_F(DeviceUpkeepTest, AResetBeginsAsANewDeviceAndKeepsTheName) {
  connectWith(phone);
  writeText(folder.path() / "journal.json", "{}");
  const auto pairing = model->makePairingViewModel();
  pairing->start();
  time.run();
  const auto before = model->deviceId().get();
  bool told = false;
  const auto watch = model->deviceId().observe([&](const auto& id) {
    if (id) told = model->connection().get() && model->makePairingViewModel();
  });
  service.set(kRename, FakeService::error(500, "down"));
  model->rename("Attic");
  model->completeOnboarding();
  defaults.set("pendingRevocations", boost::json::array{"x"});
  service.set(kPairs, {200, R"({"pairs":[]})"});
  model->resetLocal();
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "journal.json"));
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "peers.json"));
  EXPECT_TRUE(model->peerStore().peers().get().empty());
  EXPECT_TRUE(model->serverPairs().get().empty());
  EXPECT_NE(model->deviceId().get(), before);
  EXPECT_TRUE(told) << "nobody may hear of a device that can't pair yet";
  EXPECT_EQ(model->macName().get(), "Attic");
  EXPECT_EQ(model->onboardingStep().get(), OnboardingStep::welcome);
  for (const char* key : {"pendingRename", "pendingRevocations", "onboardingCompleted", "onboardingStep"}) {
    EXPECT_FALSE(defaults.lasting().contains(key)) << key;
  }
  EXPECT_EQ(defaults.string("macName"), "Attic");
  pairing->stop();
  ASSERT_TRUE(until([&] { return isConnected() && service.count(kRegister) == 2; }));
  EXPECT_NE(service.bodies(kRegister)[1].find(R"("name":"Attic")"), std::string::npos);
}

TEST_F(DeviceUpkeepTest, AResetInTheMiddleOfAnInsertionEndsIt) {
  const test::SealingPhone sealing("Ada's phone");
  connectWith(sealing.keys);
  const auto mac = DeviceIdentity::loadOrCreate(secrets.store).peerIdentity("mac", DevicePlatform::macos);
  service.push(sealing.prepares(mac));
  ASSERT_TRUE(until([&] { return !service.frames<RelayClient::PrepareResult>().empty(); }));
  const auto prepared = service.frames<RelayClient::PrepareResult>()[0].envelope.open<PrepareResultPayload>(
      EnvelopePurpose::prepareResult, sealing.keys, mac);
  provider.field().looksUntilShown = 1000;
  service.push(sealing.delivers(mac, "u1", prepared.token.value()));
  ASSERT_TRUE(until([&] { return !service.frames<RelayClient::Received>().empty() && time.sleepers() > 3; }));
  model->resetLocal();
  EXPECT_TRUE(model->isFinishing());
  time.advance(5s);
  EXPECT_FALSE(model->isFinishing());
  ASSERT_TRUE(until([&] { return isConnected(); }));
  EXPECT_TRUE(service.frames<RelayClient::Result>().empty());
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "journal.json"));
}

TEST_F(DeviceUpkeepTest, DeletesTheCloudDataFirstAndTheKeysLast) {
  const std::pair<FakeService::Reply, bool> cases[] = {{FakeService::error(500, "down"), false},
                                                       {FakeService::error(403, "forbidden"), false},
                                                       {FakeService::error(401, "device_revoked"), false},
                                                       {{200, "nonsense"}, false},
                                                       {{}, true},
                                                       {FakeService::error(403, "device_revoked"), true}};
  connectWith(phone);
  const auto failure = [&] {
    try {
      await(model->deleteCloudData());
    } catch (const DeletionError& error) {
      return std::string(error.what());
    }
    return std::string();
  };
  for (const auto& [reply, wipes] : cases) {
    service.set(kDelete, reply);
    const auto before = model->deviceId().get();
    EXPECT_EQ(failure(), wipes ? "" : "Couldn't reach the Quillet service. Nothing was deleted.") << reply.body;
    EXPECT_EQ(model->deviceId().get() != before, wipes) << reply.body;
    EXPECT_EQ(isPeer(phone), !wipes && isConnected()) << reply.body;
  }
  ASSERT_TRUE(until([&] { return isConnected(); }));
  model->stopServices();
  EXPECT_EQ(failure(), "Quillet is not connected to the server.");
}

TEST_F(DeviceUpkeepTest, AHealthCheckBelievesOnlyAClearYes) {
  const std::pair<FakeService::Reply, HealthState> cases[] = {
      {{200, R"({"ok":true,"more":1})"}, HealthState::reachable},
      {{200, R"({"ok":false})"}, HealthState::unreachable},
      {{200, "[true]"}, HealthState::unreachable},
      {{204, ""}, HealthState::unreachable},
      {{503, R"({"ok":true})"}, HealthState::unreachable}};
  service.set(kRegister, FakeService::error(503, "busy"));
  start();
  ASSERT_TRUE(until([&] { return offline() != nullptr; }));
  EXPECT_EQ(model->health().get(), HealthState::unknown);
  for (const auto& [reply, expected] : cases) {
    service.set(kHealth, reply);
    const std::size_t asked = service.count(kRegister);
    await(model->checkHealth());
    EXPECT_EQ(model->health().get(), expected) << reply.body;
    if (expected == HealthState::reachable) {
      ASSERT_TRUE(until([&] { return service.count(kRegister) == asked + 1 && offline() != nullptr; }));
    }
    EXPECT_TRUE(offline()) << reply.body;
  }
  service.set(kHealth, {});
  service.hold(kHealth);
  {
    Task task(time.executor());
    task.start([this]() -> Awaitable<void> { co_await model->checkHealth(); });
    ASSERT_TRUE(until([&] { return model->health().get() == HealthState::checking; }));
  }
  EXPECT_TRUE(until([&] { return model->health().get() == HealthState::unknown; }));
  service.release(kHealth);
  defaults.set("QLTServerURLOverride", "http://127.0.0.1:1");
  await(model->checkHealth());
  EXPECT_EQ(model->health().get(), HealthState::reachable) << "the address is that of the start";
  makeModel();
  await(model->checkHealth());
  EXPECT_EQ(model->health().get(), HealthState::unreachable);
}

TEST_F(DeviceUpkeepTest, SendsFeedbackWithWhatRunsHere) {
  connect();
  await(model->sendFeedback("Hello", std::nullopt));
  EXPECT_EQ(service.bodies("POST /v1/feedback")[0],
            "{\"appVersion\":\"1.2 (3)\",\"message\":\"Hello\",\"model\":\"Box\",\"os\":\"Any OS 12\"}");
  const std::pair<FakeService::Reply, const char*> cases[] = {
      {FakeService::error(429, "rate_limited"), "You've sent several messages recently. Try again in an hour."},
      {FakeService::error(500, "x"), "Something went wrong. Try again later."}};
  for (const auto& [reply, expected] : cases) {
    service.set("POST /v1/feedback", reply);
    std::string text;
    try {
      await(model->sendFeedback("Hello", "ada@example.org"));
    } catch (...) {
      text = FeedbackForm::failureText(std::current_exception());
    }
    EXPECT_EQ(text, expected);
  }
  EXPECT_EQ(FeedbackForm::failureText(std::make_exception_ptr(APIError(APIError::Transport{"x"}))),
            "Connect to the internet and try again.");
}

TEST(FeedbackFormTest, TellsTheFirstThingThatIsWrong) {
  std::string longest;
  for (int i = 0; i < 5000; ++i) longest += "é";
  EXPECT_TRUE((FeedbackForm{longest, " "}.canBeSent()));
  EXPECT_EQ((FeedbackForm{longest + "x", ""}.problem()), "%1 of %2 characters");
  EXPECT_EQ((FeedbackForm{longest + "x", ""}.characters()), 5001u);
  EXPECT_EQ((FeedbackForm{longest + "x", "ada@"}.problem()), "That email address doesn't look right.");
  EXPECT_FALSE((FeedbackForm{" \n", "ada@example.org"}.canBeSent()));
}

}  // namespace
}  // namespace quillet
