// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "QuilletCompanion/Dictation/DictationFailure.h"
#include "QuilletCompanion/Dictation/DictationRecognizer.h"

namespace quillet {

/// The recogniser that the user chose, for each utterance anew. Main thread only.
class ChosenRecognizer final : public DictationRecognizer {
 public:
  /// `choose` is asked at every start; what it gives outlives this.
  explicit ChosenRecognizer(std::function<DictationRecognizer&()> choose) : choose_(std::move(choose)) {}

  Awaitable<void> start(RecognitionLanguage language) override {
    DictationRecognizer& chosen = choose_();
    chosen.onInterrupted = [this, &chosen] {
      if (current_ == &chosen && onInterrupted) onInterrupted();
    };
    current_ = &chosen;
    return chosen.start(language);
  }
  float currentLevel() const override { return current_ != nullptr ? current_->currentLevel() : 0; }
  Awaitable<std::string> finish() override {
    if (current_ == nullptr) throw DictationError(DictationFailure::recognitionFailed);
    return current_->finish();
  }
  void cancel() override {
    if (current_ != nullptr) current_->cancel();
  }

 private:
  std::function<DictationRecognizer&()> choose_;
  DictationRecognizer* current_ = nullptr;
};

}  // namespace quillet
