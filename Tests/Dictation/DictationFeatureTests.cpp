// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/APIClient.h"
#include "Tests/Doubles/DictationDesk.h"
#include "Tests/Doubles/FakeStores.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/VirtualTime.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
using namespace DictationPhases;
using Role = HotkeyMonitor::Role;
using Status = SystemAudioAccess::Status;

constexpr std::uint16_t kRightOption = 61, kControl = 59, kLeftOption = 58, kSpace = 49, kEscape = 53;

class DictationFeatureTest : public testing::Test {
 protected:
  DictationFeatureTest() {
    store.setString("dictation.recognizer", "device");
    make();
  }
  ~DictationFeatureTest() override {
    feature.reset();
    time.run();
    EXPECT_TRUE(desk.keyboard.hotKeys().empty()) << "a key stayed ours";
  }

  void make() {
    feature = std::make_unique<DictationFeature>(desk.parts(time.executor(), time.source(), store));
    recognizer = desk.deviceRecognizer;
  }
  void start() {
    feature->start([this](std::string text) -> Awaitable<DictationInsertion> {
      texts.push_back(std::move(text));
      co_return DictationInserted{};
    });
    feature->setEnabled(true);
    time.run();
  }
  const DictationPhase& phase() const { return feature->controller().phase().get(); }
  template <typename Value>
  void give(HeldCalls<Value>& calls, Value value) {
    calls.give(std::move(value));
    time.run();
  }
  void listen() {
    desk.keyboard.press(kRightOption);
    time.run();
    give(recognizer->starts, true);
    time.advance(1s);
    ASSERT_TRUE(is<Listening>(phase()));
  }
  void finish(std::string text) {
    desk.keyboard.release(kRightOption);
    time.run();
    ASSERT_TRUE(is<Transcribing>(phase()));
    give(recognizer->finishes, std::move(text));
  }
  bool escapeIsOurs() const {
    const auto keys = desk.keyboard.hotKeys();
    return std::find(keys.begin(), keys.end(), DictationShortcut{kEscape, 0}) != keys.end();
  }

  VirtualTime time;
  MemoryPreferences store;
  DictationDesk desk;
  std::unique_ptr<DictationFeature> feature;
  StubRecognizer* recognizer = nullptr;
  std::vector<std::string> texts;
};

TEST_F(DictationFeatureTest, AHeldKeyBecomesTextAndMusicIsMuffledMeanwhile) {
  start();
  EXPECT_FALSE(escapeIsOurs());
  desk.keyboard.press(kRightOption);
  time.run();
  EXPECT_TRUE(is<Starting>(phase()));
  EXPECT_TRUE(escapeIsOurs());
  EXPECT_EQ(desk.routes.built, 0) << "before the microphone is open nothing is touched";
  give(recognizer->starts, true);
  EXPECT_TRUE(desk.routes.engaged);
  time.advance(2s);
  desk.keyboard.release(kRightOption);
  time.run();
  EXPECT_TRUE(is<Transcribing>(phase()));
  EXPECT_FALSE(desk.routes.engaged) << "sound is back before the text is there";
  EXPECT_TRUE(escapeIsOurs());
  give<std::string>(recognizer->finishes, "Hello");
  EXPECT_TRUE(is<Inserted>(phase()));
  EXPECT_FALSE(escapeIsOurs());
  EXPECT_EQ(texts, std::vector<std::string>{"Hello"});
  desk.keyboard.press(kRightOption);
  time.run();
  EXPECT_TRUE(is<Starting>(phase())) << "the next press works while the outcome is shown";
}

TEST_F(DictationFeatureTest, TheToggleKeyTheButtonAndEscapeDoAsTheTableSays) {
  start();
  const auto toggle = [&] {
    desk.keyboard.press(kControl);
    desk.keyboard.press(kLeftOption);
    desk.keyboard.tap(kSpace);
    desk.keyboard.release(kLeftOption);
    desk.keyboard.release(kControl);
    time.run();
  };
  toggle();
  give(recognizer->starts, true);
  desk.keyboard.tap(kRightOption);
  EXPECT_TRUE(is<Listening>(phase())) << "the hold key is nothing to a dictation that was toggled";
  toggle();
  EXPECT_TRUE(is<Transcribing>(phase()));
  toggle();
  feature->toggleFromPanel();
  EXPECT_TRUE(is<Transcribing>(phase())) << "a press is lost, not queued";
  desk.keyboard.tap(kEscape);
  time.run();
  EXPECT_TRUE(is<Idle>(phase()));
  feature->toggleFromPanel();
  time.run();
  give(recognizer->starts, true);
  EXPECT_TRUE(is<Listening>(phase()));
  EXPECT_TRUE(desk.devices.isWatched());
  feature->setEnabled(false);
  EXPECT_TRUE(is<Idle>(phase()));
  EXPECT_TRUE(desk.keyboard.hotKeys().empty());
  EXPECT_FALSE(desk.devices.isWatched());
  EXPECT_EQ(desk.keyboard.followers(), 0u);
  feature->toggleFromPanel();
  feature->handle(HotkeyEvent::holdDown);
  EXPECT_TRUE(is<Idle>(phase())) << "off is off";
}

TEST_F(DictationFeatureTest, ShortcutsAreInForceOnlyWhileTheyShouldBe) {
  feature->setEnabled(true);
  EXPECT_TRUE(desk.keyboard.hotKeys().empty()) << "nothing before the start";
  LogCapture::instance().expect("Shortcut for toggle unavailable: 10");
  desk.keyboard.othersHave = {DictationPreferences::kDefaultToggle};
  start();
  EXPECT_EQ(feature->unavailableShortcuts().get(), std::set<Role>{Role::toggle});
  listen();
  finish("works");
  EXPECT_EQ(texts.size(), 1u) << "the other shortcut goes on";
  feature->setShortcut(Role::toggle, DictationShortcut{96, 0});
  EXPECT_TRUE(feature->unavailableShortcuts().get().empty());
  EXPECT_EQ(store.json("dictation.toggleShortcut"), R"({"keyCode":96,"modifiers":0})");
  feature->setShortcutsPaused(true);
  EXPECT_TRUE(desk.keyboard.hotKeys().empty());
  feature->setShortcutsPaused(false);
  EXPECT_EQ(desk.keyboard.hotKeys(), (std::vector<DictationShortcut>{{96, 0}}));
  feature->setShortcut(Role::hold, std::nullopt);
  EXPECT_EQ(desk.keyboard.followers(), 0u);
  EXPECT_EQ(feature->shortcutHint(), "Press F5 to dictate");
}

TEST_F(DictationFeatureTest, SaysWhatToPress) {
  EXPECT_EQ(feature->shortcutHint(), "Hold Right ⌥ or press ⌃⌥Space");
  feature->setShortcut(Role::toggle, std::nullopt);
  EXPECT_EQ(feature->shortcutHint(), "Hold Right ⌥ to dictate");
  feature->setShortcut(Role::hold, std::nullopt);
  EXPECT_EQ(feature->shortcutHint(), std::nullopt);
  store.setJSON("dictation.toggleShortcut", R"({"keyCode":49,"modifiers":786432})");
  make();
  EXPECT_EQ(feature->shortcutHint(), "Press ⌃⌥Space to dictate") << "a shortcut that was turned off stays off";
}

TEST_F(DictationFeatureTest, OtherSoundIsTreatedAsChosen) {
  start();
  feature->setAudio(DictationAudio::pause);
  listen();
  EXPECT_EQ(desk.players.commands, std::vector<std::string>{"pause"});
  EXPECT_EQ(desk.routes.built, 0);
  finish("x");
  EXPECT_EQ(desk.players.commands, (std::vector<std::string>{"pause", "play"}));

  feature->setAudio(DictationAudio::keep);
  listen();
  finish("x");
  EXPECT_EQ(desk.players.commands.size(), 2u);
  EXPECT_EQ(desk.routes.built, 0);

  feature->setAudio(DictationAudio::muffle);
  listen();
  EXPECT_TRUE(desk.routes.engaged);
  feature->setAudio(DictationAudio::keep);
  EXPECT_FALSE(desk.routes.engaged) << "also in the middle of a sentence";
  finish("x");
}

TEST_F(DictationFeatureTest, MufflingNeedsPermissionAndDictationDoesNot) {
  desk.systemAudio.now = Status::notDetermined;
  desk.systemAudio.afterRequest = Status::denied;
  make();
  start();
  EXPECT_EQ(desk.systemAudio.requests, 1);
  EXPECT_EQ(feature->systemAudioStatus().get(), Status::denied);
  listen();
  EXPECT_EQ(desk.routes.built, 0);
  finish("works");
  EXPECT_EQ(texts.size(), 1u);
  desk.systemAudio.now = Status::authorized;
  feature->refreshStatus();
  listen();
  EXPECT_TRUE(desk.routes.engaged);
  finish("x");
  EXPECT_EQ(desk.systemAudio.requests, 1) << "one question is enough";
}

TEST_F(DictationFeatureTest, ADeniedMicrophoneShowsInTheStatus) {
  start();
  EXPECT_TRUE(feature->canDictate());
  desk.microphone.granted = false;
  feature->handle(HotkeyEvent::toggle);
  time.run();
  recognizer->starts.fail(DictationError(DictationFailure::microphoneDenied));
  time.run();
  EXPECT_EQ(phase(), DictationPhase(Failed{DictationFailure::microphoneDenied}));
  EXPECT_EQ(feature->microphoneStatus().get(), Microphone::Access::denied);
  EXPECT_FALSE(feature->canDictate());
}

TEST_F(DictationFeatureTest, TheEndOfTheProcessBringsSoundBackBeforeItReturns) {
  start();
  listen();
  feature->willEnd();
  EXPECT_EQ(desk.routes.tornDownNow, 1);
  finish("x");
  feature->setAudio(DictationAudio::pause);
  listen();
  feature->willEnd();
  EXPECT_EQ(desk.players.commands.back(), "play now");
}

TEST_F(DictationFeatureTest, TheServicesConfigurationDecidesOverStreamingAlone) {
  ServiceConfig offered;
  bool fails = false;
  int fetches = 0;
  HeldCalls<bool> answers;
  feature->fetchConfiguration = [&]() -> Awaitable<ServiceConfig> {
    ++fetches;
    co_await answers.call();
    if (fails) throw APIError(APIError::Transport{"offline"});
    co_return offered;
  };
  start();
  feature->refreshConfiguration();
  time.run();
  EXPECT_EQ(fetches, 2);
  EXPECT_EQ(answers.size(), 1u) << "never two at once";
  offered.cloud.streaming = {{true, "m", "r"}};
  give(answers, true);
  EXPECT_TRUE(feature->cloud.streamingAvailable);
  EXPECT_EQ(feature->configuration().get(), offered);
  fails = true;
  feature->refreshConfiguration();
  time.run();
  give(answers, true);
  EXPECT_TRUE(feature->cloud.streamingAvailable) << "a failure changes nothing";
  fails = false;
  offered.cloud.streaming.reset();
  feature->refreshConfiguration();
  time.run();
  give(answers, true);
  EXPECT_FALSE(feature->cloud.streamingAvailable);
}

TEST_F(DictationFeatureTest, WithoutItsServiceItSaysSoUnlessAnEngineIsAtHand) {
  feature->cloud.transcribe = [](Bytes, TranscribeMeta) -> Awaitable<TranscribeResponse> {
    co_return TranscribeResponse{};
  };
  feature->cloud.streamingAvailable = true;
  start();
  listen();
  feature->forgetService();
  EXPECT_TRUE(is<Idle>(phase()));
  EXPECT_FALSE(feature->cloud.transcribe || feature->cloud.streamingAvailable || feature->fetchConfiguration);
  EXPECT_TRUE(feature->canDictate()) << "the device's engine needs no service";
  feature->preferences.recognizer.set(RecognizerChoice::cloud);
  EXPECT_FALSE(feature->canDictate());
  feature->handle(HotkeyEvent::toggle);
  time.run();
  EXPECT_EQ(phase(), DictationPhase(Failed{DictationFailure::cloudUnavailable}));
}

}  // namespace
}  // namespace quillet::test
