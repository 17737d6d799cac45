// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "QuilletSpeech/SpeechEngine.h"
#include "Tests/Doubles/HeldCalls.h"

namespace quillet::test {

/// An engine that understands what the test says, and notes what it got.
class HeldSpeechEngine final : public SpeechEngine {
 public:
  std::optional<SpeechFailure> beginFailure, finishFailure;
  std::string text = "two words";
  bool hangs = false;
  HeldCalls<bool> begins, finishes;
  std::vector<SpeechOptions> options;
  std::vector<std::int16_t> heard;  ///< By the newest session.
  int sessions = 0;                 ///< Under way.

  SpeechEngineInfo info() const override { return {"stub", "", "", {}}; }
  Awaitable<std::unique_ptr<SpeechSession>> begin(SpeechOptions asked) override {
    options.push_back(std::move(asked));
    if (hangs) co_await begins.call();
    if (beginFailure) throw SpeechError(*beginFailure, "stub");
    heard.clear();
    co_return std::make_unique<Session>(*this);
  }

 private:
  struct Session final : SpeechSession {
    explicit Session(HeldSpeechEngine& owner) : engine(owner) { ++engine.sessions; }
    ~Session() override { --engine.sessions; }
    void accept(std::span<const std::int16_t> samples) override {
      engine.heard.insert(engine.heard.end(), samples.begin(), samples.end());
    }
    std::string partialText() const override { return ""; }
    Awaitable<std::string> finish() override {
      if (engine.hangs) co_await engine.finishes.call();
      if (engine.finishFailure) throw SpeechError(*engine.finishFailure, "stub");
      co_return engine.text;
    }
    HeldSpeechEngine& engine;
  };
};

}  // namespace quillet::test
