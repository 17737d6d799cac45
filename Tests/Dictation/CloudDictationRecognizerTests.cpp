// SPDX-License-Identifier: MIT
#include <boost/algorithm/string/replace.hpp>

#include "Tests/Dictation/CloudRecognizerFixture.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/Rows.h"

namespace quillet::test {
namespace {

Awaitable<void> transcribes(Talk& talk) {
  co_await talk.say(talk.frame("ready"));
  co_await talk.say(talk.frame("partial", R"(,"text":"lo")"));
  co_await talk.hearAll();
  co_await talk.say(talk.frame("partial"));
  co_await talk.say(talk.final(" loud tone\\n"));
}
/// Follows the steps of a row: an object is said with the utterance's id in the place of "%".
Awaitable<void> follow(Talk& talk, boost::json::array steps) {
  for (const auto& step : steps) {
    const std::string what = step.is_string() ? std::string(step.as_string()) : boost::json::serialize(step);
    if (step.is_object()) {
      co_await talk.say(boost::replace_all_copy(what, "%", talk.id));
    } else if (what == "hear") {
      co_await talk.hear();
    } else if (what == "hear all") {
      co_await talk.hearAll();
    } else if (what == "close") {
      talk.stream.next_layer().close();
    } else if (what == "leave") {
      co_await talk.stream.async_close({}, boost::asio::use_awaitable);
    } else if (what == "binary") {
      co_await talk.say(talk.frame("ready"), false);
    } else if (what == "200 KB") {
      co_await talk.say(talk.frame("partial", R"(,"text":")" + std::string(200'000, 'x') + "\""));
    } else {
      co_await talk.say(what.substr(std::string("say ").size()));
    }
  }
}

TEST_F(CloudRecognizerTest, StreamsWhatIsSaidAndGetsTheTextWithoutAnUpload) {
  serve(transcribes);
  start();
  microphone.speak(2000);
  ASSERT_TRUE(wait([&] { return streams == 1; }));
  EXPECT_FLOAT_EQ(recognizer->currentLevel(), speechLevel(std::vector<std::int16_t>(8, FakeMicrophone::kLoud)));
  time.advance(2s);
  microphone.speak(515);
  finish();
  EXPECT_EQ(microphone.recordings, 0) << "the microphone is let go before the text is there";
  EXPECT_EQ(recognizer->currentLevel(), 0);
  ASSERT_TRUE(wait([&] { return isOver() && ended == 1; }));
  EXPECT_EQ(outcome, "done");
  EXPECT_EQ(text, "loud tone");
  EXPECT_EQ(heard, microphone.spoken) << "every sample once and in order";
  EXPECT_LE(largest, 3200u);
  EXPECT_EQ(closeCode, 1000);
  EXPECT_EQ(streamLanguage, RecognitionLanguage::nl);
  EXPECT_TRUE(uploads.empty());
}

TEST_F(CloudRecognizerTest, AStreamThatFailsCostsNothingButTime) {
  using Row = std::tuple<std::string, boost::json::array, std::string, bool>;
  for (const auto& [name, steps, expected, whileSpeaking] : rows<Row>("streams", "faults")) {
    SCOPED_TRACE(name);
    serve([steps = steps](Talk& talk) { return follow(talk, steps); });
    const int before = ended;
    uploads.clear();
    start();
    ASSERT_EQ(outcome, "done");
    microphone.spoken.clear();
    microphone.speak(500);
    if (whileSpeaking) ASSERT_TRUE(wait([&] { return ended > before; }));
    microphone.speak(100);
    finish();
    ASSERT_TRUE(wait([&] { return isOver(); }));
    EXPECT_EQ(outcome == "done" ? text : outcome, expected);
    const bool expectsUpload = expected == "uploaded";
    ASSERT_EQ(uploads.size(), expectsUpload ? 1u : 0u);
    if (expectsUpload) {
      EXPECT_EQ(uploads[0].substr(44), microphone.spoken);
    }
    ASSERT_TRUE(wait([&] { return ended > before; }));
  }
}

TEST_F(CloudRecognizerTest, WaitsForTheServiceSoLongAndNoLonger) {
  const boost::json::object ready{{"type", "ready"}, {"utteranceId", "%"}};
  const struct {
    const char* name;
    boost::json::array steps;
    Duration limit;
    std::atomic<int>& reached;
    bool whileSpeaking;
  } cases[] = {
      {"never ready", {}, 8s, streams, true},
      {"never done", {ready, "hear all"}, 12s, finishes, false},
      {"too old", {ready}, 320s, sounds, true},
  };
  for (const auto& [name, steps, limit, reached, whileSpeaking] : cases) {
    SCOPED_TRACE(name);
    serve([steps = steps](Talk& talk) { return follow(talk, steps); });
    const int begun = reached;
    const int before = ended;
    uploads.clear();
    start();
    microphone.speak(500);
    if (!whileSpeaking) finish();
    ASSERT_TRUE(wait([&] { return reached > begun; }, 1s));
    time.advance(limit - 3s);
    EXPECT_EQ(ended, before);
    time.advance(3s);
    ASSERT_TRUE(wait([&] { return ended > before; }, 15s));
    EXPECT_EQ(closeCode, 1001);
    if (whileSpeaking) finish();
    ASSERT_TRUE(wait([&] { return isOver(); }));
    EXPECT_EQ(text, "uploaded");
    EXPECT_EQ(uploads.size(), 1u);
  }
}

TEST_F(CloudRecognizerTest, UploadsWhatNeverReachedAStream) {
  cloud.streamRequest = [](std::string, RecognitionLanguage) -> Awaitable<HTTPRequest> {
    throw APIError(APIError::Transport{"Not registered"});
    co_return HTTPRequest();
  };
  EXPECT_EQ(dictate(), "uploaded");
  cloud.streamRequest = [](std::string, RecognitionLanguage) -> Awaitable<HTTPRequest> {
    co_return HTTPRequest{"GET", {"ws", "127.0.0.1", "1", "/"}};  // nobody listens there
  };
  EXPECT_EQ(dictate(), "uploaded");
  server = std::make_unique<LoopbackServer>([](LoopbackServer& self, LoopbackServer::Socket socket) -> Awaitable<void> {
    co_await self.readRequest(socket);
    co_await LoopbackServer::write(socket, LoopbackServer::answer(401, ""));
  });
  cloud.streamRequest = [this](std::string, RecognitionLanguage) -> Awaitable<HTTPRequest> {
    co_return server->request("/", "GET", "ws");
  };
  EXPECT_EQ(dictate(), "uploaded");
  EXPECT_EQ(uploads.size(), 3u);
  EXPECT_EQ(metas[2].language, RecognitionLanguage::nl);
  EXPECT_EQ(metas[2].style, TranscriptStyle::verbatim);
  EXPECT_EQ(metas[2].utteranceId.size(), 36u);
  EXPECT_NE(metas[2].utteranceId, metas[1].utteranceId);
}

TEST_F(CloudRecognizerTest, StreamsOnlyWhereEveryoneAgrees) {
  serve(transcribes);
  preferences.style.set(TranscriptStyle::clean);
  EXPECT_EQ(dictate(), "uploaded");
  preferences.style.set(TranscriptStyle::verbatim);
  preferences.streamingEnabled.set(false);
  EXPECT_EQ(dictate(), "uploaded");
  preferences.streamingEnabled.set(true);
  cloud.streamingAvailable = false;
  EXPECT_EQ(dictate(), "uploaded");
  cloud.streamingAvailable = true;
  const auto request = std::exchange(cloud.streamRequest, nullptr);
  EXPECT_EQ(dictate(), "uploaded");
  EXPECT_EQ(server->connections(), 0);
  EXPECT_EQ(metas[0].style, TranscriptStyle::clean);
  cloud.streamRequest = request;
  EXPECT_EQ(dictate(), "loud tone");
}

TEST_F(CloudRecognizerTest, StoppedBeforeTheServiceIsReadyItSendsAllThatIsWaiting) {
  std::atomic<bool> mayBeReady{false};
  serve([&](Talk& talk) -> Awaitable<void> {
    boost::asio::steady_timer pause(co_await boost::asio::this_coro::executor);
    while (!mayBeReady) {
      pause.expires_after(1ms);
      co_await pause.async_wait(boost::asio::use_awaitable);
    }
    co_await transcribes(talk);
  });
  record(3000);
  mayBeReady = true;
  ASSERT_TRUE(runUntil(time.context, [&] { return isOver(); })) << "it paused, and no time passes";
  EXPECT_EQ(text, "loud tone");
  ASSERT_TRUE(wait([&] { return ended == 1; }));
  EXPECT_EQ(heard, microphone.spoken);
}

TEST_F(CloudRecognizerTest, TooLittleSoundReachesNobody) {
  record(99);
  EXPECT_EQ(outcome, "Didn't catch that.");
  EXPECT_TRUE(uploads.empty());
  record(100);
  EXPECT_EQ(outcome, "done");
  EXPECT_EQ(text, "uploaded");
}

TEST_F(CloudRecognizerTest, TellsWhyItCanNotStart) {
  microphone.granted = false;
  start();
  EXPECT_EQ(outcome, "Allow microphone access in Quillet Settings.");
  microphone.granted = true;
  microphone.present = false;
  preferences.microphone.set(AudioInput{"usb", "Desk"});
  start();
  EXPECT_EQ(outcome, "The microphone isn't available.");
  EXPECT_EQ(microphone.asked.back(), "usb");
  microphone.present = true;
  start();
  EXPECT_EQ(outcome, "done");
  start();
  EXPECT_EQ(outcome, "The microphone isn't available.") << "one recording at a time";
  recognizer->cancel();
  cloud.transcribe = nullptr;
  start();
  EXPECT_EQ(outcome, "Cloud transcription is unavailable. Try again shortly.");
  finish();
  EXPECT_EQ(outcome, "Couldn't transcribe that. Try again.");
}

TEST_F(CloudRecognizerTest, TellsWhyTheUploadFailed) {
  const struct {
    APIError error;
    const char* expected;
  } cases[] = {
      {APIError(APIError::Transport{"x"}), "Connect this Mac to the internet to dictate."},
      {APIError(APIError::Server{422, {"no_speech", "x", false}}), "Didn't catch that."},
      {APIError(APIError::Server{503, {"busy", "x", true}}), "Cloud transcription is unavailable. Try again shortly."},
      {APIError(APIError::Decoding{"x"}), "Cloud transcription is unavailable. Try again shortly."},
  };
  for (const auto& [error, expected] : cases) {
    uploadError = error;
    EXPECT_EQ(dictate(), expected);
  }
  start();
  microphone.speak(500);
  cloud.transcribe = nullptr;  // this computer was removed meanwhile
  finish();
  EXPECT_EQ(outcome, "Cloud transcription is unavailable. Try again shortly.");
}

TEST_F(CloudRecognizerTest, AnInputThatGoesAwayInterruptsOnlyItsOwnRecording) {
  int interruptions = 0;
  recognizer->onInterrupted = [&] { ++interruptions; };
  start();
  microphone.unplug();
  recognizer->cancel();
  start();
  EXPECT_EQ(interruptions, 0);
  microphone.speak(300);
  microphone.unplug();
  EXPECT_EQ(interruptions, 0) << "not from within the recording";
  time.run();
  EXPECT_EQ(interruptions, 1);
  EXPECT_TRUE(LogCapture::instance().contains("Audio input stopped while dictating"));
  finish();
  EXPECT_EQ(text, "uploaded") << "what was said until then counts";
}

TEST_F(CloudRecognizerTest, MayBeCancelledWhereverItWaits) {
  serve([](Talk& talk) -> Awaitable<void> {
    co_await talk.say(talk.frame("ready"));
    co_await talk.hearAll();
  });
  microphone.hangs = true;
  const auto cancel = [&] {
    task.cancel();
    recognizer->cancel();
    time.run();
    EXPECT_EQ(outcome, "cancelled");
    EXPECT_EQ(microphone.recordings, 0);
  };
  start();
  ASSERT_EQ(microphone.accesses.size(), 1u);
  cancel();
  start();
  microphone.accesses.give(true);
  time.run();
  ASSERT_EQ(microphone.openings.size(), 1u);
  cancel();

  microphone.hangs = false;
  start();
  microphone.speak(500);
  ASSERT_TRUE(wait([&] { return sounds > 0; }));
  recognizer->cancel();
  ASSERT_TRUE(wait([&] { return ended == 1; }));
  EXPECT_EQ(closeCode, 1001);

  record();
  ASSERT_TRUE(wait([&] { return streams == 2; }));
  time.advance(1s);
  cancel();
  ASSERT_TRUE(wait([&] { return ended == 2; }));
  EXPECT_EQ(closeCode, 1001);
  EXPECT_TRUE(uploads.empty()) << "what was cancelled isn't uploaded";

  cloud.streamingAvailable = false;
  uploadHangs = true;
  for (const bool obeys : {true, false}) {
    uploading.obeysCancellation = obeys;
    record();
    ASSERT_EQ(uploading.size(), 1u);
    task.cancel();
    recognizer->cancel();
    time.run();
    if (!obeys) uploading.give(true);
    time.run();
    EXPECT_EQ(outcome, "cancelled") << "a result that comes too late is dropped";
  }
}

TEST_F(CloudRecognizerTest, ASlowUploadIsNoneOfTheNextRecordingsBusiness) {
  cloud.streamingAvailable = false;
  uploadHangs = true;
  start();
  microphone.speak(500);
  Task slow(time.executor());
  std::string slowText;
  slow.start([&]() -> Awaitable<void> { slowText = co_await recognizer->finish(); });
  time.run();
  start();
  EXPECT_EQ(outcome, "done");
  recognizer->cancel();
  start();
  uploading.give(true);
  time.run();
  EXPECT_EQ(slowText, "uploaded");
  EXPECT_EQ(microphone.recordings, 1) << "the new recording goes on";
}

}  // namespace
}  // namespace quillet::test
