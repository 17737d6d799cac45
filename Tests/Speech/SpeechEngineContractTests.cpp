// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "QuilletSpeech/OpenAIEngine.h"
#include "QuilletSpeech/SphinxEngine.h"
#include "QuilletSpeech/WyomingEngine.h"
#include "Tests/Speech/Recordings.h"
#include "Tests/Speech/ScriptedSpeechServers.h"

namespace quillet::test {
namespace {

/// An engine with what stands behind it. Of scripted servers the words are scripted, not recognised.
class EngineUnderTest {
 public:
  virtual ~EngineUnderTest() = default;
  virtual SpeechEngine& engine() = 0;
  /// All that a session held has been let go.
  virtual bool isFree(MainThread& main) = 0;
};

class Sphinx final : public EngineUnderTest {
 public:
  SpeechEngine& engine() override { return engine_; }
  bool isFree(MainThread& main) override {
    try {
      main.await(engine_.begin({}));
      return true;
    } catch (const SpeechError&) {
      return false;
    }
  }

 private:
  SphinxEngine engine_{{.workers = 1, .sessionsPerWorker = 1}};
};

/// Refuses Dutch, and never answers a request with a prompt.
class OpenAI final : public EngineUnderTest {
 public:
  SpeechEngine& engine() override { return engine_; }
  bool isFree(MainThread& main) override {
    return main.runUntil([&] { return server_.connections() == left_; });
  }

 private:
  Awaitable<void> serve(LoopbackServer& server, LoopbackServer::Socket socket) {
    try {
      for (;;) {
        const auto request = co_await server.readRequest(socket);
        const auto form = parseForm(std::string(request["Content-Type"]), request.body());
        if (!form->contains("prompt")) co_await LoopbackServer::write(socket, answerTo(*form));
      }
    } catch (const boost::system::system_error&) {
      ++left_;
    }
  }
  static std::string answerTo(const std::map<std::string, FormPart>& form) {
    if (form.contains("language") && form.at("language").value == "nl") {
      return LoopbackServer::answer(400, R"({"error":{"message":"Unsupported language: 'nl'.","param":null}})");
    }
    return LoopbackServer::answer(200, R"({"text":" um, go\n forward "})");
  }

  std::atomic<int> left_{0};
  LoopbackServer server_{
      [this](LoopbackServer& server, LoopbackServer::Socket socket) { return serve(server, std::move(socket)); }};
  NetworkThread network_;
  HTTPSession http_{network_.executor()};
  OpenAIEngine engine_{{.url = server_.url().text()}, http_};
};

class Wyoming final : public EngineUnderTest {
 public:
  SpeechEngine& engine() override { return engine_; }
  bool isFree(MainThread& main) override {
    return main.runUntil([&] { return server_.connections() == server_.left(); });
  }

 private:
  ScriptedWyoming server_{{.answers = {"{\"type\":\"transcript\",\"data\":{\"text\":\" um, go\\n forward \"}}\n"}}};
  NetworkThread network_;
  WyomingEngine engine_{{.host = "127.0.0.1", .port = server_.port()}, network_.executor()};
};

using Make = std::unique_ptr<EngineUnderTest> (*)();

class SpeechEngineContract : public testing::TestWithParam<Make> {
 protected:
  std::string transcribe(std::size_t piece, SpeechOptions options = {}) {
    auto session = main_.await(subject_->engine().begin(std::move(options)));
    const std::span<const std::int16_t> samples = samples_;
    for (std::size_t at = 0; at < samples.size(); at += piece) {
      session->accept(samples.subspan(at, std::min(piece, samples.size() - at)));
    }
    return main_.await(session->finish());
  }

  MainThread main_;
  std::unique_ptr<EngineUnderTest> subject_ = GetParam()();
  std::vector<std::int16_t> samples_ = goForward();
};

TEST_P(SpeechEngineContract, GivesTheSameTidyWordsForAnyPieces) {
  const std::string whole = transcribe(samples_.size());
  EXPECT_TRUE(whole.find("go forward") != whole.npos) << whole;
  EXPECT_EQ(whole.find_first_of("\n\t"), whole.npos);
  EXPECT_EQ(whole.find("  "), whole.npos);
  for (const std::size_t piece : {320UL, 1777UL, 48000UL}) EXPECT_EQ(transcribe(piece), whole);
}

TEST_P(SpeechEngineContract, LeavesFillersOutOfTheCleanStyle) {
  EXPECT_TRUE(transcribe(3200, {.language = "en", .style = TranscriptStyle::clean}).starts_with("go forward"));
}

TEST_P(SpeechEngineContract, RefusesALanguageThatItDoesNotSpeak) {
  try {
    transcribe(3200, {.language = "nl"});
    FAIL();
  } catch (const SpeechError& error) {
    EXPECT_EQ(error.failure, SpeechFailure::languageUnsupported);
  }
}

TEST_P(SpeechEngineContract, LetsGoOfWhatASessionHeldWhenItIsDropped) {
  { const auto unused = main_.await(subject_->engine().begin({})); }
  EXPECT_TRUE(subject_->isFree(main_));
  {
    const auto speaking = main_.await(subject_->engine().begin({}));
    for (int i = 0; i < 20; ++i) speaking->accept(samples_);
  }
  EXPECT_TRUE(subject_->isFree(main_));
}

TEST_P(SpeechEngineContract, EndsACancelledFinishAsCancelled) {
  // The scripted server over HTTP never answers a request with a prompt.
  std::exception_ptr ended;
  bool over = false;
  Task task(main_.executor());
  task.start([&]() -> Awaitable<void> {
    try {
      const auto session = co_await subject_->engine().begin({.phrases = {"Quillet"}});
      for (int i = 0; i < 5; ++i) session->accept(samples_);
      boost::asio::post(main_.executor(), [&] { task.cancel(); });
      co_await session->finish();
    } catch (...) {
      ended = std::current_exception();
    }
    over = true;
  });
  ASSERT_TRUE(main_.runUntil([&] { return over; }));
  EXPECT_TRUE(isCancellation(ended));
  EXPECT_TRUE(subject_->isFree(main_));
}

TEST_P(SpeechEngineContract, RefusesMoreThanAnUtterance) {
  const auto session = main_.await(subject_->engine().begin({}));
  const std::vector<std::int16_t> minute(60 * kSpeechRate);
  for (int i = 0; i < 6; ++i) session->accept(minute);
  try {
    main_.await(session->finish());
    FAIL();
  } catch (const SpeechError& error) {
    EXPECT_EQ(error.failure, SpeechFailure::tooLong);
  }
}

template <typename Subject>
std::unique_ptr<EngineUnderTest> make() {
  return std::make_unique<Subject>();
}

std::string nameOf(const testing::TestParamInfo<Make>& info) {
  return info.param == make<Sphinx> ? "Sphinx" : info.param == make<OpenAI> ? "OpenAI" : "Wyoming";
}

INSTANTIATE_TEST_SUITE_P(Engines, SpeechEngineContract, testing::Values(make<Sphinx>, make<OpenAI>, make<Wyoming>),
                         nameOf);

}  // namespace
}  // namespace quillet::test
