// SPDX-License-Identifier: MIT
#include "QuilletSpeech/SphinxEngine.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/Rows.h"
#include "Tests/Doubles/StubSpeechEngine.h"
#include "Tests/Service/ServerFixture.h"
#include "Tests/Speech/Recordings.h"

namespace quillet::test {
namespace {

/// A transcription stream as its client has it.
class StreamClient {
 public:
  explicit StreamClient(std::unique_ptr<WebSocketTask> socket) : socket_(std::move(socket)) { socket_->resume(); }

  Awaitable<boost::json::object> read() {
    const WebSocketMessage frame = co_await socket_->receive();
    EXPECT_TRUE(frame.isText);
    co_return boost::json::parse(frame.data).as_object();
  }
  /// The next frame that is no partial text.
  Awaitable<boost::json::object> answer() {
    boost::json::object frame = co_await read();
    while (frame.at("type").as_string() == "partial") frame = co_await read();
    co_return frame;
  }
  Awaitable<void> say(std::string text) { return socket_->send({true, std::move(text)}); }
  Awaitable<void> sayFinish() { return say(R"({"type":"finish"})"); }
  Awaitable<void> speak(std::string bytes) { return socket_->send({false, std::move(bytes)}); }
  Awaitable<void> speak(std::span<const std::int16_t> samples) {
    constexpr std::size_t kPiece = 1600;
    for (; !samples.empty(); samples = samples.subspan(std::min(kPiece, samples.size()))) {
      co_await speak(std::string(textOf(bytesOfSamples(samples.first(std::min(kPiece, samples.size()))))));
    }
  }
  void close(int code) { socket_->cancel(code); }
  /// Of the upgrade.
  int status() const { return socket_->refusedStatus().value_or(101); }

 private:
  std::unique_ptr<WebSocketTask> socket_;
};

class TranscriptionTest : public ServerTest {
 protected:
  void serveWith(SpeechEngine& speech, TranscriptionLimits limits = {}, const ServerLimits& sockets = {}) {
    ServiceSettings settings;
    settings.engine = &speech;
    settings.transcription = limits;
    serve(sockets, settings);
    play([&]() -> Awaitable<void> { co_await enrol(); });
  }
  void TearDown() override {
    ServerTest::TearDown();
    EXPECT_EQ(engine.open, 0U);
  }

  Awaitable<StreamClient> stream(std::string id = "u-1", APIClient* client = nullptr) {
    APIClient& api = client == nullptr ? *macAPI : *client;
    HTTPRequest request = co_await api.transcriptionStreamRequest(std::move(id), RecognitionLanguage::en);
    StreamClient opened(makeWebSocketTask(session, context.get_executor(), std::move(request), kFrameLimit));
    try {
      first_ = co_await opened.read();
    } catch (const TransportError&) {
      EXPECT_NE(opened.status(), 101) << "the upgrade was accepted, and nothing said";
    }
    co_return std::move(opened);
  }
  Awaitable<TranscribeResponse> upload(TranscribeMeta meta, std::span<const std::int16_t> samples) {
    return macAPI->transcribe(std::move(meta), WaveFile::wrap(bytesOfSamples(samples)));
  }
  static Awaitable<bool> isCutOff(StreamClient& client, std::string sound) {
    try {
      co_await client.speak(std::move(sound));
      co_await client.answer();
      co_return false;
    } catch (const TransportError&) {
      co_return true;
    }
  }
  static std::string codeIn(const boost::json::object& frame) {
    return frame.contains("error") ? std::string(frame.at("error").at("code").as_string()) : std::string();
  }
  /// Of a coroutine of the test: awaits what the service does meanwhile.
  Awaitable<bool> happens(std::function<bool()> condition) {
    boost::asio::steady_timer tick(context);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
      tick.expires_after(std::chrono::milliseconds(1));
      co_await tick.async_wait(boost::asio::use_awaitable);
    }
    co_return condition();
  }
  Awaitable<bool> letsGo() {
    return happens([&] { return engine.open == 0 && service->transcription.streams() == 0; });
  }
  bool heldNothing() {
    return runUntil([&] { return engine.open == 0 && service->transcription.streams() == 0; });
  }

  StubSpeechEngine engine;
  boost::json::object first_;  ///< Frame of the stream that was opened last.
  std::vector<std::int16_t> samples_ = goForward();
};

TEST_F(TranscriptionTest, GivesTheWordsOfAStreamAtItsEnd) {
  serveWith(engine);
  play([&]() -> Awaitable<void> {
    EXPECT_EQ((co_await stream("u 1/ü")).status(), 400) << "not an id";
    StreamClient client = co_await stream("0A-b.c_9");
    EXPECT_EQ(first_, (boost::json::object{{"type", "ready"}, {"utteranceId", "0A-b.c_9"}}));
    co_await client.speak(samples_);
    co_await client.sayFinish();
    const auto final = co_await client.answer();
    EXPECT_EQ(final.at("type").as_string(), "final");
    const auto response = JSONCoding::decode<TranscribeResponse>(boost::json::serialize(final));
    EXPECT_EQ(response.utteranceId, "0A-b.c_9");
    EXPECT_EQ(response.text, "go forward");
    EXPECT_EQ(response.durationMs, static_cast<std::int64_t>(samples_.size() / 16));
    EXPECT_EQ(response.model, "stub-1");
    EXPECT_EQ(engine.heard, samples_);
    EXPECT_EQ(engine.asked.back().language, "en");
    EXPECT_TRUE(co_await happens([&] { return engine.open == 0; })) << "before the client closes";
    client.close(1000);
  });
  EXPECT_TRUE(heldNothing());
}

TEST_F(TranscriptionTest, GivesTheWordsOfAnUpload) {
  serveWith(engine);
  play([&]() -> Awaitable<void> {
    const auto response =
        co_await upload({"u-1", RecognitionLanguage::de, TranscriptStyle::clean, {"Quillet"}, true}, samples_);
    EXPECT_EQ(response.text, "go forward");
    EXPECT_EQ(response.utteranceId, "u-1");
    EXPECT_EQ(response.configVersion, "1");
    EXPECT_FALSE(response.speakers);
    EXPECT_EQ(engine.heard, samples_);
    EXPECT_EQ(engine.asked.back().language, "de");
    EXPECT_EQ(engine.asked.back().style, TranscriptStyle::clean);
    EXPECT_EQ(engine.asked.back().phrases, std::vector<std::string>{"Quillet"});
    co_await upload({"u-2"}, samples_);
    EXPECT_EQ(engine.asked.back().language, "");
  });
}

TEST_F(TranscriptionTest, TellsWhatTranscribesAndWhere) {
  engine.region = "a cellar in Bruges";
  serveWith(engine);
  play([&]() -> Awaitable<void> {
    const auto config = co_await macAPI->config();
    EXPECT_EQ(config.cloud.model, "stub-1");
    EXPECT_EQ(config.cloud.region, "a cellar in Bruges");
    EXPECT_EQ(config.cloud.streaming, (ServiceConfig::Cloud::Streaming{true, "stub-1", "a cellar in Bruges"}));
    EXPECT_EQ(config.maxRecordingSeconds, 300);
    EXPECT_EQ(config.maxUploadBytes, 16'000'000);
  });
}

TEST_F(TranscriptionTest, SaysSoWithoutAnEngine) {
  serve();
  play([&]() -> Awaitable<void> {
    co_await enrol();
    EXPECT_FALSE((co_await macAPI->config()).cloud.streaming);
    EXPECT_EQ(co_await refusal(upload({"u-1"}, samples_)), "501 not_available");
    EXPECT_EQ((co_await stream()).status(), 501);
  });
}

TEST_F(TranscriptionTest, PassesEachFailureOnByItsCode) {
  serveWith(engine);
  play([&]() -> Awaitable<void> {
    for (const auto& [name, expected] : rows<std::tuple<std::string, std::string>>("speech", "passed on")) {
      const auto failure = fromRaw<SpeechFailure>(name);
      const std::string code = expected.substr(4);
      engine.beginFails = failure;
      EXPECT_EQ(co_await refusal(upload({"u-1"}, samples_)), expected);
      co_await stream();
      EXPECT_EQ(codeIn(first_), code);
      engine.beginFails.reset();
      engine.finishFails = failure;
      EXPECT_EQ(co_await refusal(upload({"u-1"}, samples_)), expected);
      StreamClient client = co_await stream();
      co_await client.speak(samples_);
      co_await client.sayFinish();
      const auto frame = co_await client.answer();
      EXPECT_EQ(codeIn(frame), code);
      EXPECT_EQ(frame.at("utteranceId").as_string(), "u-1");
      engine.finishFails.reset();
    }
  });
  EXPECT_NE(service->metricsText(0).find("quillet_transcription_failures_total{code=\"busy\"} 4\n"), std::string::npos);
}

TEST_F(TranscriptionTest, HearsNoSpeechInNothing) {
  engine.text = "";
  serveWith(engine);
  play([&]() -> Awaitable<void> {
    const std::vector<std::int16_t> blink(1599);
    EXPECT_EQ(co_await refusal(upload({"u-1"}, blink)), "422 no_speech");
    EXPECT_EQ(engine.begun, 0U) << "nothing was said in less than a tenth of a second";
    EXPECT_EQ(co_await refusal(upload({"u-1"}, samples_)), "422 no_speech");
    for (const auto& said : {blink, samples_}) {
      StreamClient client = co_await stream();
      co_await client.speak(said);
      co_await client.sayFinish();
      EXPECT_EQ(codeIn(co_await client.answer()), "no_speech");
    }
  });
}

TEST_F(TranscriptionTest, RefusesWhatIsNoUpload) {
  serveWith(engine);
  play([&]() -> Awaitable<void> {
    const auto raw = [&](std::string body) -> Awaitable<std::string> {
      co_return statusIn(co_await ServerTest::raw(wire(mac, "POST", "/v1/transcribe", body)));
    };
    EXPECT_EQ(co_await raw(""), "400");
    EXPECT_EQ(co_await raw(std::string("\0\0\0\x02{}", 6)), "400");
    EXPECT_EQ(co_await raw(std::string("\xff\xff\xff\xff{}", 6)), "400");
    EXPECT_EQ(co_await refusal(macAPI->transcribe({"u-1"}, Bytes(5000))), "400 unsupported_audio");
    EXPECT_EQ(co_await refusal(upload({""}, samples_)), "400 bad_request");
    const std::vector<std::string> phrases(101, "x");
    EXPECT_EQ(co_await refusal(upload({.utteranceId = "u-1", .phrases = phrases}, samples_)), "400 bad_request");
    EXPECT_EQ(co_await refusal(upload({.utteranceId = "u-1", .phrases = {std::string(201, 'x')}}, samples_)),
              "400 bad_request");
    std::vector<std::int16_t> sound(301 * kSpeechRate);
    EXPECT_EQ(co_await refusal(upload({"u-1"}, sound)), "413 too_long");
    sound.resize(300 * kSpeechRate);
    EXPECT_EQ(co_await refusal(upload({"u-1"}, sound)), "");
  });
}

TEST_F(TranscriptionTest, EndsAStreamThatBreaksItsRules) {
  serveWith(engine, {.sound = std::chrono::seconds(3)});
  play([&]() -> Awaitable<void> {
    for (const char* text : {R"({"type":"finish"} )", "finish", "", R"({"type":"stop"})"}) {
      StreamClient client = co_await stream();
      co_await client.speak(samples_);
      co_await client.say(text);
      EXPECT_EQ(codeIn(co_await client.answer()), "bad_request") << text;
    }
    StreamClient odd = co_await stream();
    co_await odd.speak(std::string(321, 'x'));
    EXPECT_EQ(codeIn(co_await odd.answer()), "bad_request");
    StreamClient endless = co_await stream();
    for (int i = 0; i < 4; ++i) co_await endless.speak(std::string(kSpeechRate * 2, '\0'));
    EXPECT_EQ(codeIn(co_await endless.answer()), "too_long");
    StreamClient huge = co_await stream();
    EXPECT_TRUE(co_await isCutOff(huge, std::string(131'074, '\0')));
  });
  EXPECT_TRUE(heldNothing());
}

TEST_F(TranscriptionTest, FreesTheDecoderOfAClientThatGoesAway) {
  serveWith(engine);
  play([&]() -> Awaitable<void> {
    { const StreamClient silent = co_await stream(); }
    EXPECT_TRUE(co_await letsGo());
    {
      StreamClient speaking = co_await stream();
      co_await speaking.speak(samples_);
    }
    EXPECT_TRUE(co_await letsGo());
    engine.finishHangs = true;
    {
      StreamClient waiting = co_await stream();
      co_await waiting.speak(samples_);
      co_await waiting.sayFinish();
      EXPECT_TRUE(co_await happens([&] { return engine.finishing == 1; }));
    }
    EXPECT_TRUE(co_await letsGo());
    std::string body = TranscribeBody::build({"u-1"}, WaveFile::wrap(bytesOfSamples(samples_)));
    Socket uploading = co_await dial();
    co_await write(uploading, wire(mac, "POST", "/v1/transcribe", std::move(body)));
    EXPECT_TRUE(co_await happens([&] { return engine.finishing == 2; }));
    co_await write(uploading, "GET ");  // that it sends ahead hides nothing
    co_await happens([&, looks = 0]() mutable { return ++looks > 20; });
    EXPECT_EQ(engine.open, 1U);
    uploading.close();
  });
  EXPECT_TRUE(heldNothing());
}

TEST_F(TranscriptionTest, DropsAClientThatSaysNothing) {
  ServerLimits sockets;
  sockets.transcriptionIdle = std::chrono::milliseconds(200);
  serveWith(engine, {}, sockets);
  play([&]() -> Awaitable<void> {
    StreamClient silent = co_await stream("u-1");
    EXPECT_TRUE(co_await letsGo());
    StreamClient speaking = co_await stream("u-2");
    co_await speaking.speak(samples_);
    EXPECT_TRUE(co_await letsGo());
  });
}

TEST_F(TranscriptionTest, BoundsStreamsAndLetsTheNextInWhenOneEnds) {
  serveWith(engine, {.streams = 3, .streamsPerDevice = 2});
  play([&]() -> Awaitable<void> {
    StreamClient first = co_await stream("u-1");
    const StreamClient second = co_await stream("u-2");
    EXPECT_EQ((co_await stream("u-3")).status(), 503) << "a third of one device";
    const StreamClient other = co_await stream("u-4", &*phoneAPI);
    EXPECT_EQ(other.status(), 101);
    EXPECT_EQ((co_await stream("u-5", &*phoneAPI)).status(), 503) << "a fourth in all";
    first.close(1006);
    EXPECT_TRUE(co_await happens([&] { return service->transcription.streams() == 2; }));
    EXPECT_EQ((co_await stream("u-6")).status(), 101);
  });
}

TEST_F(TranscriptionTest, LetsUploadsWaitTheirTurnUpToABound) {
  serveWith(engine, {.uploads = 1, .uploadsWaiting = 1});
  engine.finishHangs = true;
  std::vector<std::string> ended;
  Task working(context.get_executor()), waiting(context.get_executor());
  const auto run = [&](std::string id) -> Awaitable<void> {
    co_await upload({id}, samples_);
    ended.push_back(id);
  };
  working.start([&] { return run("u-1"); });
  EXPECT_TRUE(runUntil([&] { return engine.finishing == 1; }));
  waiting.start([&] { return run("u-2"); });
  EXPECT_TRUE(runUntil([&] { return service->transcription.uploads().waiting() == 1; }));
  play([&]() -> Awaitable<void> {
    EXPECT_EQ(co_await refusal(upload({"u-3"}, samples_)), "503 busy");
    try {
      co_await upload({"u-3"}, samples_);
    } catch (const APIError& error) {
      EXPECT_TRUE(error.server()->body.retryable);
    }
  });
  EXPECT_EQ(engine.begun, 1U) << "who waits holds no decoder";
  engine.finishHangs = false;
  working.cancel();
  EXPECT_TRUE(runUntil([&] { return ended == std::vector<std::string>{"u-2"}; }));
}

TEST_F(TranscriptionTest, BoundsTheSoundOfADeviceInAnHour) {
  serveWith(engine, {.soundPerDeviceAndHour = std::chrono::seconds(5)});
  play([&]() -> Awaitable<void> {
    EXPECT_EQ(co_await refusal(upload({"u-1"}, samples_)), "");
    EXPECT_EQ(co_await refusal(upload({"u-2"}, samples_)), "");
    EXPECT_EQ(co_await refusal(upload({"u-3"}, samples_)), "429 too_much_sound");
    EXPECT_EQ((co_await stream()).status(), 429);
    EXPECT_EQ((co_await stream("u-1", &*phoneAPI)).status(), 101);
  });
}

TEST_F(TranscriptionTest, CountsWhatItDoesAndLogsNoWord) {
  engine.text = "the secret is Mirabelle";
  serveWith(engine);
  play([&]() -> Awaitable<void> {
    co_await upload({"u-1"}, samples_);
    StreamClient client = co_await stream();
    co_await client.speak(samples_);
    const std::string metrics = service->metricsText(0);
    for (const char* line :
         {"streams 1\n", "streams_total 1\n", "uploads_total 1\n", "queue 0\n", "seconds_total 2."}) {
      EXPECT_NE(metrics.find("quillet_transcription_" + std::string(line)), metrics.npos) << line;
    }
    engine.finishFails = SpeechFailure::failed;
    co_await client.sayFinish();
    co_await client.answer();
  });
  EXPECT_FALSE(LogCapture::instance().anyHolds("Mirabelle"));
}

}  // namespace
}  // namespace quillet::test
