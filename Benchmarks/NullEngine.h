// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <span>
#include <string>

#include "Benchmarks/Table.h"
#include "QuilletSpeech/SpeechEngine.h"

namespace quillet::bench {

/// Takes sound and has a word ready.
class NullEngine final : public SpeechEngine {
 public:
  SpeechEngineInfo info() const override { return {"null", "null", "here", {}}; }
  Awaitable<std::unique_ptr<SpeechSession>> begin(SpeechOptions) override { co_return std::make_unique<Session>(); }

 private:
  class Session final : public SpeechSession {
   public:
    void accept(std::span<const std::int16_t> samples) override { keep(samples); }
    std::string partialText() const override { return {}; }
    Awaitable<std::string> finish() override { co_return "word"; }
  };
};

}  // namespace quillet::bench
