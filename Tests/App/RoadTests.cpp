// SPDX-License-Identifier: MIT
#include "QuilletPhone/Phone.h"
#include "Tests/App/AppModelHarness.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/LoopbackService.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
using namespace DictationPhases;

/// The model, the service and the phone as they are, over loopback sockets: only the desktop is in memory.
class RoadTest : public testing::Test {
 protected:
  RoadTest() {
    defaults.set("QLTServerURLOverride", boost::json::string(service.url().text()));
    model = std::make_shared<AppModel>(
        AppModelParts{.mainThread = mainThread.executor(),
                      .time = systemTime(network.executor()),
                      .appVersion = "1.2 (3)",
                      .machine = {.hostName = "Desk"},
                      .accessibility = {.provider = provider},
                      .desktop = {.lockMonitor = lockMonitor, .events = systemEvents, .loginItem = loginItem},
                      .secrets = {.store = secrets, .thread = mainThread.executor()},
                      .storage = {.defaults = defaults, .folder = folder.path() / "mac"},
                      .network = {.session = session},
                      .dictation = desk.platform()});
    const PhoneState state{.name = "Pocket", .service = service.url().text(), .macs = {}};
    state.save(folder.path() / "phone");
    phone = std::make_unique<Phone>(state, folder.path() / "phone", DeviceIdentity::generate(), session,
                                    systemTime(network.executor()));
  }
  ~RoadTest() override {
    if (pairing) pairing->stop();
    model->stopServices();
    const std::weak_ptr<AppModel> left = model;
    model.reset();
    EXPECT_TRUE(mainThread.runUntil([&] { return left.expired(); }));
  }

  template <typename T>
  T await(Awaitable<T> work) {
    return mainThread.await(std::move(work));
  }
  template <typename Phase>
  const Phase* phase() {
    return std::get_if<Phase>(&pairing->phase.get());
  }
  bool isConnected() { return model->connectionStatus().get() == ConnectionStatus::connected; }

  void connect() {
    model->start();
    ASSERT_TRUE(mainThread.runUntil([&] { return isConnected(); }));
    await(phone->registerDevice());
  }
  void pair() {
    pairing = model->makePairingViewModel();
    pairing->start();
    ASSERT_TRUE(mainThread.runUntil([&] { return phase<PairingViewModel::Invitation>(); }));
    auto claim = await(phone->claim(phase<PairingViewModel::Invitation>()->qrContent));
    ASSERT_TRUE(mainThread.runUntil([&] { return phase<PairingViewModel::Verify>(); }));
    ASSERT_EQ(phase<PairingViewModel::Verify>()->words, claim.crypto.verificationWords());
    pairing->confirm();
    ASSERT_TRUE(mainThread.runUntil([&] { return phase<PairingViewModel::Confirming>(); }));
    mac = await(phone->confirm(std::move(claim)));
    ASSERT_TRUE(mainThread.runUntil([&] { return phase<PairingViewModel::Paired>(); }));
  }
  Phone::DeliveryReport say(const std::string& text) {
    const auto prepared = await(phone->prepare(mac, Phone::makeId()));
    await(phone->deliver(mac, prepared.utteranceId, prepared.token.value_or("none"), text));
    return await(phone->wait(mac, prepared.utteranceId, 20s));
  }
  /// How the phone's wish to prepare ends.
  PhoneExit prepareFails() {
    try {
      await(phone->prepare(mac, Phone::makeId()));
    } catch (const PhoneError& error) {
      return error.exit;
    }
    return PhoneExit::done;
  }

  MainThread mainThread;
  NetworkThread network;
  HTTPSession session{network.executor()};
  LoopbackService service;
  FakeAccessibilityProvider provider;
  FakeLockMonitor lockMonitor;
  FakeSystemEvents systemEvents;
  DictationDesk desk;
  FakeLoginItem loginItem;
  MemorySecretStore secrets;
  UserDefaults defaults{std::nullopt};
  TemporaryFolder folder;
  std::shared_ptr<AppModel> model;
  std::unique_ptr<Phone> phone;
  std::unique_ptr<PairingViewModel> pairing;
  PeerIdentity mac;
};

TEST_F(RoadTest, WordsArriveAndNoLogKnowsThem) {
  const std::string marker = "xyzzyplugh";
  connect();
  pair();
  std::vector<std::string> phones;
  const auto told = model->inserted().subscribe([&](const std::string& name) { phones.push_back(name); });
  const auto report = say("Say " + marker + " thrice");
  ASSERT_TRUE(report.result);
  EXPECT_EQ(report.result->outcome, InsertionOutcome::inserted);
  EXPECT_NE(provider.text().find(marker), std::string::npos);
  EXPECT_EQ(phones, std::vector<std::string>{"Pocket"});
  provider.field().write = FakeField::Write::ineffective;
  provider.field().ignoresTyping = true;
  EXPECT_NE(say(marker + " is refused").result.value().outcome, InsertionOutcome::inserted);
  auto& log = LogCapture::instance();
  EXPECT_TRUE(log.anyHolds("Insertion finished"));
  EXPECT_TRUE(log.anyHolds("Registered with the server"));
  EXPECT_FALSE(log.anyHolds(marker));
}

TEST_F(RoadTest, PhonesHearOfRenamingRevokingAndDeleting) {
  connect();
  pair();
  EXPECT_TRUE(model->rename("Attic"));
  const auto readiness = [&] { return await(phone->presence()).at(0).readiness; };
  ASSERT_TRUE(mainThread.runUntil([&] { return !defaults.boolean("pendingRename"); }));
  EXPECT_EQ(readiness().value().macName, "Attic");
  EXPECT_NE(phone->state().mac("Attic"), nullptr);
  EXPECT_TRUE(await(model->revoke(phone->deviceId())));
  EXPECT_EQ(prepareFails(), PhoneExit::serviceRefused);
  await(phone->unpair(mac.deviceId));
  defaults.set("pendingRevocations", boost::json::array{phone->deviceId(), "another"});
  pair();
  EXPECT_EQ(defaults.strings("pendingRevocations"), std::vector<std::string>{"another"}) << "this pairing is to stay";
  EXPECT_EQ(model->peerStore().peers().get().size(), 1u);
  await(phone->unpair(mac.deviceId));
  ASSERT_TRUE(mainThread.runUntil([&] { return model->peerStore().peers().get().empty(); }));
  pair();
  const auto before = model->deviceId().get();
  await(model->deleteCloudData());
  EXPECT_NE(model->deviceId().get(), before);
  EXPECT_TRUE(model->peerStore().peers().get().empty());
  ASSERT_TRUE(mainThread.runUntil([&] { return isConnected(); }));
  EXPECT_EQ(prepareFails(), PhoneExit::serviceRefused);
  pair();
  await(phone->deleteCloudData());
  ASSERT_TRUE(mainThread.runUntil([&] { return model->peerStore().peers().get().empty(); }));
}

/// From the microphone of a fake desktop to its field, through the whole model.
class DictationRoadTest : public AppModelTest {
 protected:
  DictationRoadTest() { defaults.setFlag("dictation.enabled", true); }

  void useDevice() { defaults.setString("dictation.recognizer", "device"); }
  const DictationPhase& phase() { return model->dictation().controller().phase().get(); }
  void listen() {
    model->dictation().toggleFromPanel();
    time.run();
    if (desk.deviceRecognizer->starts.size() > 0) desk.deviceRecognizer->starts.give(true);
    time.run();
    ASSERT_TRUE(DictationRoadTest::in<Listening>());
  }
  template <typename P>
  bool in() {
    return quillet::is<P>(phase());
  }
  /// The device's engine has understood this.
  void understand(std::string text) {
    model->dictation().toggleFromPanel();
    time.run();
    desk.deviceRecognizer->finishes.give(std::move(text));
    time.run();
  }
  void fieldHolds(std::u16string text) {
    provider.field().selection = {static_cast<std::int64_t>(text.size()), 0};
    provider.field().text = std::move(text);
  }
};

TEST_F(DictationRoadTest, ATextJoinsWhatStandsWhereTheFocusIsByThen) {
  useDevice();
  start();
  listen();
  fieldHolds(u"Hello");
  understand(" world \n");
  time.advance(1s);
  EXPECT_TRUE(in<Inserted>());
  EXPECT_EQ(provider.field().text, u"Hello world");
  time.advance(2s);
  listen();
  understand("\n");
  time.advance(100ms);
  EXPECT_TRUE(in<Inserted>()) << "blanks are nothing to insert, and nothing to refuse";
  EXPECT_EQ(provider.field().text, u"Hello world");
}

TEST_F(DictationRoadTest, ARefusedTextIsKeptForCopying) {
  useDevice();
  start();
  listen();
  provider.field().traits.isSecure = true;
  understand("a secret");
  EXPECT_EQ(phase(), DictationPhase(NotInserted{"a secret", RefusalReason::secureField}));
  EXPECT_EQ(model->dictation().controller().lastText().get(), "a secret");
  model->stopServices();
  time.advance(11s);
  listen();
  understand("words");
  EXPECT_EQ(phase(), DictationPhase(NotInserted{"words", RefusalReason::noAccessibility}));
}

TEST_F(DictationRoadTest, ACancelledOneEndsAtItsNextChunk) {
  useDevice();
  start();
  provider.field().write = FakeField::Write::fails;
  listen();
  understand(std::string(400, 'x'));
  time.advance(20ms);
  const auto typed = provider.field().text.size();
  EXPECT_GT(typed, 0u);
  EXPECT_LT(typed, 400u);
  model->dictation().handle(HotkeyEvent::cancel);
  time.advance(10s);
  EXPECT_TRUE(in<Idle>());
  EXPECT_EQ(provider.field().text.size(), typed);
  listen();
  understand("y");
  time.advance(10s);
  EXPECT_EQ(provider.field().text.size(), typed + 2) << "the next one has its turn";
}

TEST_F(DictationRoadTest, TheServiceIsAskedWhileItKnowsThisComputer) {
  service.set(kRegister, {500, "{}"});
  start();
  ASSERT_TRUE(until([&] { return offline() != nullptr; }));
  const auto dictate = [&] {
    listen();
    desk.microphone.speak(500);
    model->dictation().toggleFromPanel();
    ASSERT_TRUE(until([&] { return !isInProgress(phase()); }));
  };
  dictate();
  EXPECT_EQ(phase(), DictationPhase(Failed{DictationFailure::offline})) << "not registered yet";
  service.set(kRegister, {200, R"({"deviceId":"d","registeredAt":1})"});
  service.set("POST /v1/transcribe",
              {200, R"({"utteranceId":"u","text":" From afar. ","durationMs":1,"model":"m","configVersion":"1"})"});
  model->retryConnection();
  ASSERT_TRUE(until([&] { return isConnected(); }));
  dictate();
  EXPECT_TRUE(in<Inserted>());
  EXPECT_EQ(provider.field().text, u"From afar.");
  EXPECT_TRUE(model->dictation().canDictate());
  model->stopServices();
  EXPECT_FALSE(model->dictation().canDictate()) << "the service's calls are gone with the service";
}

}  // namespace
}  // namespace quillet::test
