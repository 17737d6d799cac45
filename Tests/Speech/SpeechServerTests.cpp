// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "QuilletSpeech/OpenAIEngine.h"
#include "QuilletSpeech/SpeechEngineChoice.h"
#include "QuilletSpeech/SpeechEngines.h"
#include "QuilletSpeech/SpeechText.h"
#include "QuilletSpeech/WyomingEngine.h"
#include "Tests/Doubles/Rows.h"
#include "Tests/Speech/Recordings.h"
#include "Tests/Speech/ScriptedSpeechServers.h"

namespace quillet::test {
namespace {

using Kind = SpeechEngineChoice::Kind;

TEST(SpeechEngineChoice, TellsTheEngineByItsScheme) {
  const std::map<std::string, Kind> kinds{{"sphinx", Kind::sphinx}, {"web", Kind::openAI}, {"wyoming", Kind::wyoming}};
  using Row = std::tuple<std::string, std::string, std::string, std::string, std::string>;
  for (const auto& [text, kind, url, host, port] : rows<Row>("speech", "engines")) {
    const auto choice = SpeechEngineChoice::parse(text);
    EXPECT_EQ(choice.kind, kinds.at(kind)) << text;
    EXPECT_EQ(std::tie(choice.url, choice.host, choice.port), std::tie(url, host, port)) << text;
  }
  for (const auto& text : rows<std::string>("speech", "no engines")) {
    EXPECT_THROW(SpeechEngineChoice::parse(text), SpeechEngineChoice::Malformed) << text;
  }
}

TEST(SpeechText, LeavesHesitationOutAndNothingElse) {
  using Row = std::tuple<std::string, std::string, std::string>;
  for (const auto& [language, text, expected] : test::rows<Row>("texts", "withoutFillers")) {
    EXPECT_EQ(SpeechText::withoutFillers(text, language), expected) << text;
  }
  EXPECT_EQ(SpeechText::finished(" um,\n go  on ", {.language = "en"}), "um, go on");
  EXPECT_EQ(SpeechText::finished(" \n", {}), "");
}

/// What goes to speech servers, held against the documents of their protocols, and what becomes of their answers.
class SpeechServerTest : public testing::Test {
 protected:
  std::string transcribe(SpeechEngine& engine, SpeechOptions options = {}) {
    auto session = main_.await(engine.begin(std::move(options)));
    session->accept(samples_);
    return main_.await(session->finish());
  }
  std::optional<SpeechFailure> failure(SpeechEngine& engine, SpeechOptions options = {}) {
    try {
      transcribe(engine, std::move(options));
      return std::nullopt;
    } catch (const SpeechError& error) {
      return error.failure;
    }
  }

  MainThread main_;
  NetworkThread network_;
  HTTPSession http_{network_.executor()};
  std::vector<std::int16_t> samples_ = goForward();
};

/// A server of the OpenAI style that answers every request alike.
class ScriptedOpenAI {
 public:
  explicit ScriptedOpenAI(int status = 200, std::string body = R"({"text":"go forward"})")
      : server_([status, body](LoopbackServer& server, LoopbackServer::Socket socket) -> Awaitable<void> {
          for (const std::string answer = LoopbackServer::answer(status, body);;) {
            co_await server.readRequest(socket);
            co_await LoopbackServer::write(socket, answer);
          }
        }) {}

  std::string url(const std::string& path = "") const { return "http://127.0.0.1:" + server_.url().port + path; }
  LoopbackServer::Request heard() const { return server_.requests().back(); }

 private:
  LoopbackServer server_;
};

TEST_F(SpeechServerTest, SendsARecordingAsAFormWithAllThatWasAskedFor) {
  const TemporaryFolder folder;
  std::ofstream(folder.path() / "key") << "sk-secret\n";
  const ScriptedOpenAI server;
  OpenAIEngine engine({.url = server.url(), .model = "large-v3", .keyFile = folder.path() / "key"}, http_);
  EXPECT_EQ(transcribe(engine, {.language = "de-CH", .phrases = {"Quillet", "Fernhollow"}}), "go forward");

  const auto request = server.heard();
  EXPECT_EQ(request.method_string(), "POST");
  EXPECT_EQ(request.target(), "/v1/audio/transcriptions");
  EXPECT_EQ(request["Authorization"], "Bearer sk-secret");
  auto form = parseForm(std::string(request["Content-Type"]), request.body());
  ASSERT_TRUE(form.has_value());
  EXPECT_EQ(form->at("model").value, "large-v3");
  EXPECT_EQ(form->at("language").value, "de");
  EXPECT_EQ(form->at("prompt").value, "Quillet, Fernhollow");
  EXPECT_EQ(form->at("response_format").value, "json");
  EXPECT_EQ(form->at("file").disposition, "name=\"file\"; filename=\"speech.wav\"");
  EXPECT_EQ(form->at("file").type, "audio/wav");
  EXPECT_EQ(form->size(), 5U);
  const std::string& file = form->at("file").value;
  EXPECT_EQ(file.substr(44), textOf(bytesOfSamples(samples_)));
  EXPECT_EQ(WaveFile::pcm(bytesOf(file))->size(), samples_.size() * 2);

  transcribe(engine);
  form = parseForm(std::string(server.heard()["Content-Type"]), server.heard().body());
  EXPECT_FALSE(form->contains("language"));
  EXPECT_FALSE(form->contains("prompt"));
}

TEST_F(SpeechServerTest, AsksAtThePathThatTheAddressTells) {
  const ScriptedOpenAI server;
  for (const auto& [path, expected] : rows<std::tuple<std::string, std::string>>("speech", "paths")) {
    OpenAIEngine engine({.url = server.url(path)}, http_);
    transcribe(engine);
    EXPECT_EQ(server.heard().target(), expected);
  }
}

TEST_F(SpeechServerTest, TellsRefusalsOfAWebServerApart) {
  using Row = std::tuple<int, std::string, std::string>;
  for (const auto& [status, body, expected] : rows<Row>("speech", "refusals")) {
    const ScriptedOpenAI server(status, body);
    OpenAIEngine engine({.url = server.url()}, http_);
    EXPECT_EQ(failure(engine, {.language = "de"}), fromRaw<SpeechFailure>(expected)) << status << body;
  }
  const ScriptedOpenAI server(400, R"({"error":{"message":"Invalid language 'de'.","param":"language"}})");
  OpenAIEngine engine({.url = server.url()}, http_);
  EXPECT_EQ(failure(engine), SpeechFailure::failed) << "no language was asked for";
}

TEST_F(SpeechServerTest, TellsAServerThatCannotBeUsed) {
  OpenAIEngine nobody({.url = "http://127.0.0.1:1"}, http_);
  EXPECT_EQ(failure(nobody), SpeechFailure::unavailable);
  const ScriptedOpenAI server;
  OpenAIEngine keyless({.url = server.url(), .keyFile = "/nonexistent"}, http_);
  EXPECT_EQ(failure(keyless), SpeechFailure::unavailable);
  LoopbackServer silent([](LoopbackServer&, LoopbackServer::Socket socket) -> Awaitable<void> {
    co_await LoopbackServer::stall();
    socket.close();
  });
  OpenAIEngine patient({.url = silent.url().text(), .timeout = std::chrono::milliseconds(200)}, http_);
  EXPECT_EQ(failure(patient), SpeechFailure::unavailable);
  WyomingEngine gone({.host = "127.0.0.1", .port = "1"}, network_.executor());
  EXPECT_EQ(failure(gone), SpeechFailure::unavailable);
  WyomingEngine mute({.host = "127.0.0.1", .port = silent.url().port, .connect = std::chrono::milliseconds(200)},
                     network_.executor());
  EXPECT_EQ(failure(mute), SpeechFailure::unavailable);
}

TEST_F(SpeechServerTest, SpeaksWyomingInItsOrder) {
  for (const bool behind : {false, true}) {
    ScriptedWyoming server({.dataBehindTheLine = behind});
    const auto engine = makeSpeechEngine(SpeechEngineChoice::parse("tcp://127.0.0.1:" + server.port()), http_);
    auto session = main_.await(engine->begin({.language = "en"}));
    const std::span<const std::int16_t> samples = samples_;
    session->accept(samples.first(1000));
    session->accept(samples.subspan(1000));
    EXPECT_EQ(main_.await(session->finish()), "go forward");

    const auto heard = server.heard();
    ASSERT_GE(heard.size(), 5U);
    EXPECT_EQ(heard[0].type, "describe");
    EXPECT_EQ(heard[1].type, "transcribe");
    EXPECT_EQ(heard[1].data, (boost::json::object{{"language", "en_US"}}));
    const boost::json::object format{{"rate", 16000}, {"width", 2}, {"channels", 1}};
    EXPECT_EQ(heard[2].type, "audio-start");
    EXPECT_EQ(heard[2].data, format);
    std::string sound;
    for (std::size_t i = 3; i + 1 < heard.size(); ++i) {
      EXPECT_EQ(heard[i].type, "audio-chunk");
      EXPECT_EQ(heard[i].data, format);
      sound += heard[i].payload;
    }
    EXPECT_EQ(sound, textOf(bytesOfSamples(samples_)));
    EXPECT_EQ(heard.back().type, "audio-stop");
  }
}

TEST_F(SpeechServerTest, NamesTheModelThatIsWanted) {
  ScriptedWyoming server;
  const auto engine = [&](std::string model) {
    return WyomingEngine({.host = "127.0.0.1", .port = server.port(), .model = std::move(model)}, network_.executor());
  };
  auto small = engine("small");
  EXPECT_EQ(transcribe(small, {.language = "de"}), "go forward");
  EXPECT_EQ(server.heard()[1].data, (boost::json::object{{"language", "de"}, {"name", "small"}}));
  EXPECT_EQ(failure(small, {.language = "fr"}), SpeechFailure::languageUnsupported);
  auto large = engine("large");
  EXPECT_EQ(failure(large), SpeechFailure::modelNotInstalled);
}

TEST_F(SpeechServerTest, TellsRefusalsOfAWyomingServerApart) {
  using Script = ScriptedWyoming::Script;
  const auto failureOf = [&](Script script) {
    ScriptedWyoming server(std::move(script));
    WyomingEngine engine({.host = "127.0.0.1", .port = server.port(), .answer = std::chrono::milliseconds(300)},
                         network_.executor());
    return failure(engine);
  };
  EXPECT_EQ(failureOf({.info = "{}"}), SpeechFailure::unavailable);
  EXPECT_EQ(failureOf({.info = R"({"asr":7})"}), SpeechFailure::unavailable);
  EXPECT_EQ(failureOf({.hangUpAfterInfo = true}), SpeechFailure::unavailable);
  EXPECT_EQ(failureOf({.answers = {}}), SpeechFailure::unavailable);
  EXPECT_EQ(failureOf({.answers = {"no JSON\n"}}), SpeechFailure::unavailable);
  EXPECT_EQ(failureOf({.answers = {"{\"type\":\"transcript\",\"data_length\":99999999999}\n"}}),
            SpeechFailure::unavailable);
  EXPECT_EQ(failureOf({.answers = {"{\"type\":\"error\",\"data\":{\"text\":\"out of memory\"}}\n"}}),
            SpeechFailure::failed);
}

TEST_F(SpeechServerTest, ShowsWordsThatAWyomingServerTellsEarly) {
  ScriptedWyoming server(
      {.answers = {"{\"type\":\"transcript-start\"}\n", "{\"type\":\"transcript-chunk\",\"data\":{\"text\":\"go\"}}\n",
                   "{\"type\":\"transcript-chunk\",\"data\":{\"text\":\" on\"}}\n",
                   "{\"type\":\"transcript\",\"data_length\":16}\n{\"text\":\"go on\"}\n",
                   "{\"type\":\"transcript-stop\"}\n"}});
  WyomingEngine engine({.host = "127.0.0.1", .port = server.port()}, network_.executor());
  auto session = main_.await(engine.begin({}));
  EXPECT_EQ(main_.await(session->finish()), "go on");
  EXPECT_EQ(session->partialText(), "go on");
}

}  // namespace
}  // namespace quillet::test
