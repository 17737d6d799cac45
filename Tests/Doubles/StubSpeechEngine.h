// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <optional>

#include "QuilletSpeech/SpeechEngine.h"

namespace quillet::test {

/// An engine with canned words. One thread. What it is told stays readable.
class StubSpeechEngine final : public SpeechEngine {
 public:
  std::string text = "go forward";
  std::optional<SpeechFailure> beginFails, finishFails;
  bool finishHangs = false;
  std::string region = "on this machine";

  std::vector<SpeechOptions> asked;
  std::vector<std::int16_t> heard;  ///< By the session that began last.
  std::size_t open = 0, begun = 0, finishing = 0;

  SpeechEngineInfo info() const override { return {"stub", "stub-1", region, {"en"}}; }

  Awaitable<std::unique_ptr<SpeechSession>> begin(SpeechOptions options) override {
    if (beginFails) throw SpeechError(*beginFails, "told to");
    asked.push_back(std::move(options));
    heard.clear();
    ++begun;
    co_return std::make_unique<Session>(*this);
  }

 private:
  class Session final : public SpeechSession {
   public:
    explicit Session(StubSpeechEngine& engine) : engine_(engine) { ++engine_.open; }
    ~Session() override { --engine_.open; }
    void accept(std::span<const std::int16_t> samples) override {
      engine_.heard.insert(engine_.heard.end(), samples.begin(), samples.end());
    }
    std::string partialText() const override { return engine_.heard.empty() ? "" : "go"; }
    Awaitable<std::string> finish() override {
      ++engine_.finishing;
      if (engine_.finishHangs) {
        boost::asio::steady_timer never(co_await boost::asio::this_coro::executor,
                                        boost::asio::steady_timer::time_point::max());
        co_await never.async_wait(boost::asio::use_awaitable);
      }
      if (engine_.finishFails) throw SpeechError(*engine_.finishFails, "told to");
      co_return engine_.text;
    }

   private:
    StubSpeechEngine& engine_;
  };
};

}  // namespace quillet::test
