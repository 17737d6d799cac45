// SPDX-License-Identifier: MIT
#include "Tests/App/AppModelHarness.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
using namespace DictationPhases;

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
