// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/LiveSpeechRecognizer.h"

#include "Tests/Doubles/FakeSound.h"
#include "Tests/Doubles/FakeStores.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/Rows.h"
#include "Tests/Doubles/StubSpeechEngine.h"
#include "Tests/Doubles/VirtualTime.h"

namespace quillet::test {
namespace {

class LiveSpeechRecognizerTest : public testing::Test {
 protected:
  ~LiveSpeechRecognizerTest() override {
    recognizer.reset();
    time.run();
    EXPECT_EQ(microphone.recordings, 0);
    EXPECT_EQ(engine->open, 0u);
  }
  std::string run(std::function<Awaitable<void>()> operation) {
    attempt.start(std::move(operation));
    time.run();
    return attempt.outcome;
  }
  std::string start(RecognitionLanguage language = RecognitionLanguage::en) {
    return run([this, language] { return recognizer->start(language); });
  }
  std::string finish() {
    return run([this]() -> Awaitable<void> { text = co_await recognizer->finish(); });
  }

  VirtualTime time;
  MemoryPreferences store;
  DictationPreferences preferences{store};
  FakeMicrophone microphone;
  std::shared_ptr<StubSpeechEngine> engine = std::make_shared<StubSpeechEngine>();
  std::vector<std::string> names;
  std::unique_ptr<LiveSpeechRecognizer> recognizer = std::make_unique<LiveSpeechRecognizer>(
      time.executor(), preferences, microphone,
      [this](const std::string& name) {
        names.push_back(name);
        if (name == "nonsense") throw std::runtime_error("no such engine");
        return engine;
      },
      [] {
        return UserLocale{{"de-CH"}, "CH"};
      });
  std::string text;
  Attempt attempt{time.executor()};
};

TEST_F(LiveSpeechRecognizerTest, TheEngineHearsEverythingAndItsTextComesBack) {
  preferences.deviceEngine.set("tcp://127.0.0.1:10300");
  preferences.style.set(TranscriptStyle::clean);
  ASSERT_EQ(start(RecognitionLanguage::automatic), "done");
  EXPECT_EQ(names, std::vector<std::string>{"tcp://127.0.0.1:10300"});
  EXPECT_EQ(engine->asked[0].language, "de-DE");
  EXPECT_EQ(engine->asked[0].style, TranscriptStyle::clean);
  microphone.speak(500);
  EXPECT_GT(recognizer->currentLevel(), 0.8F);
  time.run();
  microphone.speak(30);  // still between the threads when the recording ends
  EXPECT_EQ(finish(), "done");
  EXPECT_EQ(text, "go forward");
  EXPECT_EQ(engine->heard.size(), 530u * 16);
  EXPECT_EQ(recognizer->currentLevel(), 0);
}

TEST_F(LiveSpeechRecognizerTest, TellsWhyItCanNot) {
  const struct {
    SpeechFailure failure;
    const char* expected;
  } cases[] = {
      {SpeechFailure::languageUnsupported, "This language can't be dictated on this Mac."},
      {SpeechFailure::modelNotInstalled, "Download the speech model in Quillet Settings."},
      {SpeechFailure::unavailable, "Couldn't transcribe that. Try again."},
  };
  LogCapture::instance().expect("Analyzer did not start: told to");
  LogCapture::instance().expect("Analyzer did not start: no such engine");
  LogCapture::instance().expect("Recognition failed: told to");
  for (const auto& [failure, expected] : cases) {
    engine->beginFails = failure;
    EXPECT_EQ(start(), expected);
    EXPECT_TRUE(microphone.asked.empty()) << "nothing is recorded that nobody understands";
  }
  engine->beginFails.reset();
  preferences.deviceEngine.set("nonsense");
  EXPECT_EQ(start(), "Couldn't transcribe that. Try again.");
  preferences.deviceEngine.set("embedded");
  microphone.present = false;
  EXPECT_EQ(start(), "The microphone isn't available.");
  microphone.granted = false;
  EXPECT_EQ(start(), "Allow microphone access in Quillet Settings.");
  microphone.granted = microphone.present = true;
  EXPECT_EQ(finish(), "Couldn't transcribe that. Try again.");
  ASSERT_EQ(start(), "done");
  EXPECT_EQ(start(), "The microphone isn't available.") << "one recording at a time";
  engine->finishFails = SpeechFailure::failed;
  EXPECT_EQ(finish(), "Couldn't transcribe that. Try again.");
}

TEST_F(LiveSpeechRecognizerTest, MayBeCancelledWhereverItWaits) {
  engine->beginHangs = microphone.hangs = true;
  const auto cancel = [&] {
    attempt.task.cancel();
    recognizer->cancel();
    time.run();
    EXPECT_EQ(attempt.outcome, "cancelled");
    EXPECT_EQ(microphone.recordings, 0);
    EXPECT_EQ(engine->open, 0u);
  };
  start();
  cancel();
  start();
  microphone.accesses.give(true);
  time.run();
  ASSERT_EQ(engine->begins.size(), 1u);
  cancel();
  start();
  microphone.accesses.give(true);
  time.run();
  engine->begins.give(true);
  time.run();
  ASSERT_EQ(microphone.openings.size(), 1u);
  cancel();
  microphone.hangs = engine->beginHangs = false;
  ASSERT_EQ(start(), "done");
  microphone.speak(100);
  engine->finishHangs = true;
  finish();
  ASSERT_EQ(engine->finishes.size(), 1u);
  cancel();
}

TEST(SpeechLocaleTest, FollowsTheChoiceOrElseTheUser) {
  using Row = std::tuple<std::string, std::vector<std::string>, std::string, std::string>;
  for (const auto& [language, languages, region, expected] : rows<Row>("locales", "speech")) {
    EXPECT_EQ(speechLocale(fromRaw<RecognitionLanguage>(language).value(), {languages, region}), expected);
  }
}

TEST(SpeechLocaleTest, ReadsTheEnvironment) {
  using Row = std::tuple<std::string, std::string, std::string, std::vector<std::string>, std::string>;
  for (const auto& [language, all, lang, languages, region] : rows<Row>("locales", "environment")) {
    setenv("LANGUAGE", language.c_str(), 1);
    setenv("LC_ALL", all.c_str(), 1);
    setenv("LC_MESSAGES", "", 1);
    setenv("LANG", lang.c_str(), 1);
    const UserLocale user = UserLocale::ofEnvironment();
    EXPECT_EQ(user.languages, languages);
    EXPECT_EQ(user.region, region);
  }
}

}  // namespace
}  // namespace quillet::test
