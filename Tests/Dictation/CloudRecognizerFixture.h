// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletCompanion/Dictation/CloudDictationRecognizer.h"
#include "QuilletKit/Protocol/APIClient.h"
#include "Tests/Doubles/FakeSound.h"
#include "Tests/Doubles/FakeStores.h"
#include "Tests/Doubles/LoopbackServer.h"
#include "Tests/Doubles/VirtualTime.h"

namespace quillet::test {

using namespace std::chrono_literals;

/// The service's end of one transcription stream.
struct Talk {
  LoopbackServer::WebSocket& stream;
  std::atomic<int>&sounds, &finishes;  ///< Count what was heard, of all streams.
  std::string id;                      ///< As the request names the utterance.
  std::string heard;                   ///< The sound so far.
  std::size_t largest = 0;             ///< Bytes of the largest message of sound.

  Awaitable<void> say(std::string frame, bool isText = true) {
    stream.text(isText);
    co_await stream.async_write(boost::asio::buffer(frame), boost::asio::use_awaitable);
  }
  std::string frame(const std::string& type, const std::string& rest = "") const {
    return R"({"type":")" + type + R"(","utteranceId":")" + id + "\"" + rest + "}";
  }
  std::string final(const std::string& text) const {
    return frame("final", R"(,"text":")" + text + R"(","durationMs":500,"model":"m","configVersion":"1")");
  }
  static std::string error(const std::string& code) {
    return R"(,"error":{"code":")" + code + R"(","message":"x","retryable":false})";
  }
  /// One message; true if it says that the sound is complete.
  Awaitable<bool> hear() {
    const std::string message = co_await LoopbackServer::readText(stream);
    if (stream.got_text()) {
      ++finishes;
      co_return message == R"({"type":"finish"})";
    }
    ++sounds;
    heard += message;
    largest = std::max(largest, message.size());
    co_return false;
  }
  Awaitable<void> hearAll() {
    while (!co_await hear()) {
    }
  }
};
using Behaviour = std::function<Awaitable<void>(Talk&)>;

/// A recogniser with a real socket to a service on the loopback interface, and clocks that move on command.
class CloudRecognizerTest : public testing::Test {
 protected:
  CloudRecognizerTest() {
    cloud.transcribe = [this](Bytes audio, TranscribeMeta meta) -> Awaitable<TranscribeResponse> {
      uploads.emplace_back(textOf(audio));
      metas.push_back(std::move(meta));
      if (uploadHangs) co_await uploading.call();
      if (uploadError) throw *uploadError;
      TranscribeResponse response;
      response.text = "\n uploaded ";
      co_return response;
    };
    cloud.streamingAvailable = true;
  }
  ~CloudRecognizerTest() override {
    task.cancel();
    recognizer.reset();
    time.run();
    EXPECT_EQ(microphone.recordings, 0);
  }

  /// A service that behaves like that on every stream.
  void serve(Behaviour behaviour) {
    server = std::make_unique<LoopbackServer>(
        [this, behaviour = std::move(behaviour)](LoopbackServer& self, LoopbackServer::Socket socket) {
          return converse(self, std::move(socket), behaviour);
        });
    cloud.streamRequest = [this](std::string id, RecognitionLanguage language) -> Awaitable<HTTPRequest> {
      auto request = server->request("/v1/transcribe/stream?utteranceId=" + id, "GET", "ws");
      request.timeout = std::chrono::seconds(60);
      streamLanguage = language;
      co_return request;
    };
  }
  Awaitable<void> converse(LoopbackServer& self, LoopbackServer::Socket socket, Behaviour behaviour) {
    int code = 1006;
    try {
      auto stream = co_await self.upgrade(std::move(socket));
      const std::string target(self.requests().back().target());
      Talk talk{stream, sounds, finishes, target.substr(target.find('=') + 1)};
      // Its answer tells that the client has taken up the connection, too.
      stream.control_callback([this](boost::beast::websocket::frame_type kind, auto) {
        if (kind == boost::beast::websocket::frame_type::pong) ++streams;
      });
      co_await stream.async_ping({}, boost::asio::use_awaitable);
      try {
        co_await behaviour(talk);
        while (true) co_await talk.hear();
      } catch (const boost::system::system_error&) {
        // Also one that went before it heard our answer to its close.
        if (stream.reason()) code = stream.reason().code;
      }
      heard = talk.heard;
      largest = talk.largest;
    } catch (const boost::system::system_error&) {
    }
    closeCode = code;
    ++ended;
  }

  /// Waits for something that real sockets bring about, letting the sender's pauses pass, but no watchdog's time.
  bool wait(const std::function<bool()>& happened, Duration passing = 5s) {
    for (Duration passed{0}; passed < passing; passed += 20ms) {
      if (runUntil(time.context, happened, std::chrono::seconds(0)) || happened()) return true;
      time.context.restart();
      time.context.run_one_for(2ms);
      time.advance(20ms);
    }
    return runUntil(time.context, happened);
  }
  void start() {
    attempt.start([this] { return recognizer->start(RecognitionLanguage::nl); });
    time.run();
  }
  void finish() {
    attempt.start([this]() -> Awaitable<void> { text = co_await recognizer->finish(); });
    time.run();
  }
  /// All of a dictation but the wait for its text.
  void record(int milliseconds = 500) {
    start();
    microphone.speak(milliseconds);
    finish();
  }
  bool isOver() const { return attempt.isOver(); }
  /// Half a second of speech, and its text or failure.
  std::string dictate() {
    start();
    EXPECT_EQ(outcome, "done");
    microphone.speak(500);
    finish();
    EXPECT_TRUE(wait([this] { return isOver(); }));
    return outcome == "done" ? text : outcome;
  }

  VirtualTime time;
  MemoryPreferences store;
  DictationPreferences preferences{store};
  MacDictationCloud cloud;
  FakeMicrophone microphone;
  NetworkThread network;
  HTTPSession session{network.executor()};

  std::unique_ptr<LoopbackServer> server;
  std::atomic<int> streams{0}, sounds{0}, finishes{0}, ended{0}, closeCode{0};
  std::string heard;  ///< By the stream that ended last.
  std::size_t largest = 0;
  RecognitionLanguage streamLanguage = RecognitionLanguage::automatic;

  std::vector<std::string> uploads;
  std::vector<TranscribeMeta> metas;
  std::optional<APIError> uploadError;
  bool uploadHangs = false;
  HeldCalls<bool> uploading;

  std::unique_ptr<CloudDictationRecognizer> recognizer = std::make_unique<CloudDictationRecognizer>(
      time.executor(), preferences, cloud, microphone,
      [this](HTTPRequest request, std::size_t size) {
        return makeWebSocketTask(session, time.executor(), std::move(request), size);
      },
      time.source());
  std::string text;
  Attempt attempt{time.executor()};
  const std::string& outcome = attempt.outcome;
  Task& task = attempt.task;
};

}  // namespace quillet::test
