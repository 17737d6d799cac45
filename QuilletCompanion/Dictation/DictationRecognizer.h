// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

#include "QuilletKit/Async/Task.h"
#include "QuilletKit/Protocol/ServiceModels.h"

namespace quillet {

/// Records one utterance at a time and turns it into text. Main thread only.
class DictationRecognizer {
 public:
  virtual ~DictationRecognizer() = default;

  /// Called when the input went away while recording.
  std::function<void()> onInterrupted;

  /// Recording runs when it returns. Throws DictationError; a cancellation stays one.
  virtual Awaitable<void> start(RecognitionLanguage language) = 0;
  /// From 0 to 1. Cheap: called 20 times a second.
  virtual float currentLevel() const = 0;
  /// Ends the recording and gives all its text. Throws DictationError; a cancellation stays one.
  virtual Awaitable<std::string> finish() = 0;
  /// Stops everything and drops what was recorded. Safe at any time after a start.
  virtual void cancel() = 0;
};

}  // namespace quillet
