// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/PairingViewModel.h"

#include "Tests/Doubles/FakePairingAPI.h"
#include "Tests/Doubles/VirtualTime.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;
using test::FakePairingAPI;
using Model = PairingViewModel;
using Kind = Model::Failure::Kind;
using Call = FakePairingAPI::Call;

class PairingViewModelTest : public testing::Test {
 protected:
  PairingViewModelTest() { makeModel(); }
  void makeModel() {
    model = std::make_unique<Model>(
        time.executor(), service, mac, [] { return "Desk"; }, [](const std::string&) { return nullptr; },
        [this](const PeerIdentity& peer) {
          if (diskIsFull) throw std::runtime_error("full");
          paired.push_back(peer);
          if (afterPaired) afterPaired();
        },
        time.source());
  }
  ~PairingViewModelTest() override {
    model.reset();
    time.run();  // lets what was cancelled unwind
  }
  template <typename Phase>
  const Phase* phase() {
    return std::get_if<Phase>(&model->phase.get());
  }
  void expectFailure(Kind kind, std::string message = {}) {
    EXPECT_EQ(model->phase.get(), Model::Phase(Model::Failure{kind, std::move(message)}));
  }
  /// A whole pairing, or as much of it as there is a model for.
  void drive() {
    beginVerification();
    if (model) model->confirm();
    time.advance(100ms);
    if (model) api.pair(mac.deviceId());
    time.advance(1s);
  }
  void begin() {
    model->start();
    time.run();
  }
  void beginVerification(std::string phoneName = "Ada's phone") {
    begin();
    api.claim(std::move(phoneName));
    time.advance(1s);
  }
  void beginConfirmation() {
    beginVerification();
    model->confirm();
    time.advance(100ms);
  }

  test::VirtualTime time;
  std::shared_ptr<FakePairingAPI> service = std::make_shared<FakePairingAPI>(time.source().now);
  FakePairingAPI& api = *service;
  DeviceIdentity mac = DeviceIdentity::generate();
  std::vector<PeerIdentity> paired;
  bool diskIsFull = false;
  std::function<void()> afterPaired;
  std::unique_ptr<Model> model;
};

TEST_F(PairingViewModelTest, PairsOnlyAfterAConfirmationOfTheWordsShown) {
  begin();
  model->confirm();  // too early to count
  api.claim("Ada's phone");
  time.advance(6s);
  ASSERT_TRUE(phase<Model::Verify>());
  model->confirm();
  time.advance(100ms);
  ASSERT_EQ(api.sealedIdentities.size(), 1u);
  EXPECT_EQ(api.phoneCrypto(mac.deviceId()).openIdentity(api.sealedIdentities[0], mac.deviceId()),
            mac.peerIdentity("Desk", DevicePlatform::macos));
  api.pair(mac.deviceId());
  time.advance(1s);
  EXPECT_EQ(paired, std::vector{api.phone.peerIdentity("Ada's phone", DevicePlatform::ios)});
  model->stop();
  time.run();
  EXPECT_TRUE(phase<Model::Paired>());
  EXPECT_TRUE(api.cancelled.empty());
  model->showCode.set(true);
  model->start();
  EXPECT_TRUE(phase<Model::Starting>());
  EXPECT_FALSE(model->showCode.get());
}

TEST_F(PairingViewModelTest, AnUnclaimedCodeRenewsItselfWithNewKeys) {
  begin();
  time.advance(119s);
  EXPECT_EQ(api.macKeys.size(), 1u);
  time.advance(1s);
  ASSERT_EQ(api.macKeys.size(), 2u);
  EXPECT_NE(api.macKeys[0], api.macKeys[1]);
  EXPECT_EQ(api.cancelled, std::vector<std::string>{"session1"});
  for (const int status : {404, 410}) {
    api.failures[Call::status] = {FakePairingAPI::server(status, "gone")};
    time.advance(1s);
  }
  EXPECT_EQ(api.macKeys.size(), 4u);
  EXPECT_EQ(phase<Model::Invitation>()->sessionId, "session4");
}

TEST_F(PairingViewModelTest, CodesThatAreOverFromTheStartRenewMoreAndMoreSlowly) {
  const std::function<void()> spells[] = {[&] { api.lifetimeMs = -1; },
                                          [&] {
                                            api.failures[Call::status] = {10, FakePairingAPI::server(404, "gone")};
                                          }};
  for (const auto& spell : spells) {
    const std::size_t before = api.macKeys.size();
    spell();
    begin();
    std::size_t codes = 2;
    EXPECT_EQ(api.macKeys.size() - before, codes) << "once without a pause";
    for (const int wait : {2, 4, 8, 16, 30, 30}) {
      time.advance(std::chrono::seconds(wait) - 1ms);
      EXPECT_EQ(api.macKeys.size() - before, codes) << wait;
      time.advance(1ms);
      EXPECT_EQ(api.macKeys.size() - before, ++codes) << wait;
    }
    api.lifetimeMs = 120'000;
    api.failures.clear();
    time.advance(30s);
    ASSERT_TRUE(phase<Model::Invitation>());
    time.advance(120s);
    EXPECT_EQ(api.macKeys.size() - before, codes + 2) << "one that was alive is followed at once";
  }
}

TEST_F(PairingViewModelTest, OfflineKeepsTheCodeAndThenRetries) {
  begin();
  api.outage = FakePairingAPI::transport();
  time.advance(119s);
  EXPECT_TRUE(phase<Model::Invitation>());
  EXPECT_TRUE(model->networkTrouble.get());
  time.advance(1s);
  expectFailure(Kind::offline);
  api.outage.reset();
  time.advance(4999ms);
  expectFailure(Kind::offline);
  time.advance(1ms);
  EXPECT_TRUE(phase<Model::Invitation>());
  EXPECT_FALSE(model->networkTrouble.get());
}

TEST_F(PairingViewModelTest, WaitingEndsAsTheServiceSays) {
  for (const auto& [state, kind] : {std::pair(PairingState::paired, Kind::verificationFailed),
                                    std::pair(PairingState::cancelled, Kind::cancelledByPhone)}) {
    begin();
    api.status.state = state;
    time.advance(1s);
    expectFailure(kind);
  }
  begin();
  api.failures[Call::status] = {FakePairingAPI::server(500, "Broken.")};
  time.advance(1s);
  expectFailure(Kind::server, "Broken.");
  EXPECT_EQ(api.cancelled, (std::vector<std::string>{"session1", "session3"}));
  api.failures[Call::create] = {FakePairingAPI::server(429, "Later.")};
  begin();
  expectFailure(Kind::server, "Later.");
  EXPECT_EQ(phase<Model::Failure>()->detail(), "Later.");
}

TEST_F(PairingViewModelTest, ShowsATidyPhoneName) {
  std::string family;
  for (int i = 0; i < 100; ++i) family += "👩‍👧";
  const std::pair<std::string, std::string> names[] = {
      {" \n ", "iPhone"}, {" Ada \n", "Ada"}, {family, family.substr(0, family.size() / 100 * 64)}};
  for (const auto& [given, shown] : names) {
    beginVerification(given);
    ASSERT_TRUE(phase<Model::Verify>());
    EXPECT_EQ(phase<Model::Verify>()->phoneName, shown);
  }
}

TEST_F(PairingViewModelTest, RefusesAClaimThatCannotBeVerified) {
  const std::function<void()> spoilers[] = {
      [this] { api.status.phoneEphemeralPublicKey = Base64URL::encode(Bytes(31, 9)); },
      [this] { api.status.phoneEphemeralPublicKey = "!"; },
      [this] { api.status.phoneEphemeralPublicKey.reset(); },
      [this] { api.status.phoneDeviceId = ""; },
  };
  for (const auto& spoil : spoilers) {
    begin();
    api.claim("phone");
    spoil();
    time.advance(1s);
    expectFailure(Kind::verificationFailed);
    EXPECT_EQ(api.cancelled.size(), api.macKeys.size());
  }
}

TEST_F(PairingViewModelTest, ConfirmCountsUntilTheCodeExpires) {
  beginVerification();
  time.advance(std::chrono::milliseconds(api.status.expiresAt - time.source().now() - 50));
  model->confirm();
  time.advance(100ms);
  EXPECT_TRUE(phase<Model::Confirming>());
  beginVerification();
  time.advance(std::chrono::milliseconds(api.status.expiresAt - time.source().now()));
  expectFailure(Kind::expired);
  model->confirm();
  time.advance(1s);
  expectFailure(Kind::expired);
  EXPECT_EQ(api.cancelled.back(), api.status.sessionId);
}

TEST_F(PairingViewModelTest, VerificationHearsOfTheOtherSide) {
  for (const auto& [state, kind] :
       {std::pair(PairingState::cancelled, Kind::cancelledByPhone), std::pair(PairingState::expired, Kind::expired)}) {
    beginVerification();
    api.failures[Call::status] = {FakePairingAPI::server(500, "ignored"), FakePairingAPI::transport()};
    time.advance(2s);
    ASSERT_TRUE(phase<Model::Verify>());
    api.status.state = state;
    time.advance(1s);
    expectFailure(kind);
  }
  EXPECT_TRUE(api.cancelled.empty());
}

TEST_F(PairingViewModelTest, ConfirmationIsTriedFiveTimes) {
  for (int i = 0; i < 5; ++i) api.failures[Call::confirm].push_back(FakePairingAPI::transport());
  beginConfirmation();
  time.advance(3999ms);
  EXPECT_TRUE(phase<Model::Confirming>());
  time.advance(1ms);
  expectFailure(Kind::offline);
  EXPECT_EQ(api.confirmations, 5);
  time.advance(60s);
  expectFailure(Kind::offline);
  api.failures[Call::confirm] = {FakePairingAPI::transport(), FakePairingAPI::server(409, "No.")};
  beginConfirmation();
  time.advance(1s);
  expectFailure(Kind::server, "No.");
  EXPECT_EQ(api.cancelled.back(), "session2");
}

TEST_F(PairingViewModelTest, TheFinalWaitHasFiveSecondsOfGrace) {
  beginConfirmation();
  const auto left = std::chrono::milliseconds(api.status.expiresAt - time.source().now());
  time.advance(left + 4s);
  ASSERT_TRUE(phase<Model::Confirming>());
  time.advance(2s);
  expectFailure(Kind::expired);
  EXPECT_EQ(api.cancelled, std::vector<std::string>{"session1"});
  beginConfirmation();
  api.status.state = PairingState::cancelled;
  time.advance(1s);
  expectFailure(Kind::cancelledByPhone);
}

TEST_F(PairingViewModelTest, ABadPhoneOrAFailedStoreIsNotPaired) {
  const std::function<void()> faults[] = {
      [this] { api.pair(mac.deviceId(), DevicePlatform::windows); },
      [this] { api.pair("another desktop"); },
      [this] { diskIsFull = true, api.pair(mac.deviceId()); },
  };
  for (const auto& fault : faults) {
    beginConfirmation();
    fault();
    time.advance(1s);
    expectFailure(Kind::verificationFailed);
    EXPECT_TRUE(paired.empty());
  }
  EXPECT_EQ(api.cancelled.size(), 3u);
}

TEST_F(PairingViewModelTest, CancelStopAndTheEndOfTheModelEndTheRun) {
  beginVerification();
  model->cancel();
  time.advance(10s);
  expectFailure(Kind::cancelledHere);
  begin();
  model->stop();
  time.advance(10s);
  EXPECT_TRUE(phase<Model::Idle>());
  EXPECT_EQ(api.cancelled, (std::vector<std::string>{"session1", "session2"}));
  EXPECT_EQ(time.sleepers(), 0u);
  begin();
  model->stop();
  model.reset();
  time.advance(10s);
  EXPECT_EQ(api.cancelled.back(), "session3");
}

TEST_F(PairingViewModelTest, ASessionThatIsMadeTooLateIsCancelled) {
  boost::asio::steady_timer answer(time.executor(), boost::asio::steady_timer::time_point::max());
  api.beforeCreated = [&]() -> Awaitable<void> {
    boost::system::error_code cancelled;  // the answer was on its way already
    co_await answer.async_wait(boost::asio::redirect_error(boost::asio::use_awaitable, cancelled));
  };
  const std::function<void()> ends[] = {[this] { model->cancel(); }, [this] { model->stop(); },
                                        [this] { model.reset(); }};
  for (const auto& end : ends) {
    if (!model) makeModel();
    begin();
    EXPECT_TRUE(phase<Model::Starting>());
    end();
    time.run();
    EXPECT_EQ(api.cancelled.size(), api.macKeys.size());
  }
  makeModel();
  begin();
  api.beforeCreated = nullptr;
  model->start();
  time.run();
  EXPECT_EQ(api.cancelled, (std::vector<std::string>{"session1", "session2", "session3", "session4"}));
  EXPECT_EQ(phase<Model::Invitation>()->sessionId, "session5");
}

TEST_F(PairingViewModelTest, WhoWatchesItMayDestroyIt) {
  for (std::size_t index = 1; index + 1 < std::variant_size_v<Model::Phase>; ++index) {
    if (!model) makeModel();
    const auto watching = model->phase.observe([this, index](const Model::Phase& phase) {
      if (phase.index() == index) model.reset();
    });
    drive();
    EXPECT_FALSE(model) << index;
  }
  const std::function<void()> troubles[] = {
      [this] { api.outage = FakePairingAPI::transport(); },
      [this] { api.failures[Call::status] = {FakePairingAPI::server(500, "Broken.")}; },
      [this] { api.status.state = PairingState::cancelled; },
      [this] { api.claim("phone"), api.status.phoneDeviceId = ""; },
  };
  for (const auto& trouble : troubles) {
    makeModel();
    begin();
    const auto failing = model->phase.observe([this](const Model::Phase&) { model.reset(); });
    const auto troubled = model->networkTrouble.observe([this](bool) { model.reset(); });
    trouble();
    time.advance(1s);
    EXPECT_FALSE(model);
    api.outage.reset();
  }
  makeModel();
  api.outage = FakePairingAPI::transport();
  const auto offline = model->phase.observe([this](const Model::Phase& phase) {
    if (std::holds_alternative<Model::Failure>(phase)) model.reset();
  });
  begin();
  EXPECT_FALSE(model);
}

TEST_F(PairingViewModelTest, TheEndOfATroubleMayStopOrDestroyIt) {
  for (const bool destroyed : {false, true}) {
    begin();
    time.advance(118s);
    api.failures[Call::status] = {FakePairingAPI::transport()};
    time.advance(1s);
    ASSERT_TRUE(model->networkTrouble.get());
    const auto relieved = model->networkTrouble.observe([this, destroyed](bool) {
      model->stop();
      if (destroyed) model.reset();
    });
    time.advance(1s);
    EXPECT_EQ(api.cancelled.size(), api.macKeys.size());
    EXPECT_TRUE(destroyed ? !model : phase<Model::Idle>() != nullptr);
  }
}

TEST_F(PairingViewModelTest, StoringThePhoneMayEndTheModelOrStartAnew) {
  afterPaired = [this] { model.reset(); };
  drive();
  EXPECT_FALSE(model);
  EXPECT_EQ(paired.size(), 1u);
  makeModel();
  afterPaired = [this] { model->start(); };
  drive();
  EXPECT_TRUE(phase<Model::Invitation>());
  EXPECT_EQ(paired.size(), 2u);
  EXPECT_TRUE(api.cancelled.empty()) << "what was stored was undone";
}

}  // namespace
}  // namespace quillet
