// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "QuilletSpeech/SpeechEngine.h"
#include "Tests/Doubles/Calls.h"

namespace quillet::test {

/// An engine with canned words, whose calls hang if the test wants. One thread. What it is told stays readable.
class StubSpeechEngine final : public SpeechEngine {
 public:
  std::string text = "go forward";
  std::optional<SpeechFailure> beginFails, finishFails;
  bool beginHangs = false, finishHangs = false;
  HeldCalls<bool> begins, finishes;
  std::string region = "on this machine";

  std::vector<SpeechOptions> asked;
  std::vector<std::int16_t> heard;  ///< By the session that began last.
  std::size_t open = 0, begun = 0, finishing = 0;

  SpeechEngineInfo info() const override { return {"stub", "stub-1", region, {"en"}}; }

  Awaitable<std::unique_ptr<SpeechSession>> begin(SpeechOptions options) override {
    asked.push_back(std::move(options));
    if (beginHangs) co_await begins.call();
    if (beginFails) throw SpeechError(*beginFails, "told to");
    heard.clear();
    ++begun;
    co_return std::make_unique<Session>(*this);
  }

 private:
  struct Session final : SpeechSession {
    explicit Session(StubSpeechEngine& owner) : engine(owner) { ++engine.open; }
    ~Session() override { --engine.open; }
    void accept(std::span<const std::int16_t> samples) override {
      engine.heard.insert(engine.heard.end(), samples.begin(), samples.end());
    }
    std::string partialText() const override { return engine.heard.empty() ? "" : "go"; }
    Awaitable<std::string> finish() override {
      ++engine.finishing;
      if (engine.finishHangs) co_await engine.finishes.call();
      if (engine.finishFails) throw SpeechError(*engine.finishFails, "told to");
      co_return engine.text;
    }
    StubSpeechEngine& engine;
  };
};

}  // namespace quillet::test
