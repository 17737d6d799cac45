// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "QuilletCompanion/Dictation/DictationRecognizer.h"
#include "Tests/Doubles/HeldCalls.h"

namespace quillet::test {

/// A recogniser whose starts and ends hang until the test answers them. Notes what it was asked, in order.
class StubRecognizer final : public DictationRecognizer {
 public:
  Awaitable<void> start(RecognitionLanguage language) override {
    calls.push_back("start " + std::string(rawValue(language)));
    co_await starts.call();
  }
  float currentLevel() const override { return level; }
  Awaitable<std::string> finish() override {
    calls.push_back("finish");
    co_return co_await finishes.call();
  }
  void cancel() override { calls.push_back("cancel"); }

  HeldCalls<bool> starts;
  HeldCalls<std::string> finishes;
  std::vector<std::string> calls;
  float level = 0;
};

}  // namespace quillet::test
