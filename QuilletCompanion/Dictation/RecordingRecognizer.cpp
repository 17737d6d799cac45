// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/RecordingRecognizer.h"

#include <boost/asio/post.hpp>
#include <utility>

#include "QuilletCompanion/Dictation/DictationFailure.h"
#include "QuilletKit/Async/ThrowIfCancelled.h"
#include "QuilletKit/Base/Log.h"

namespace quillet {

RecordingRecognizer::RecordingRecognizer(Executor mainThread, const DictationPreferences& preferences,
                                         Microphone& microphone, const char* interruption)
    : mainThread_(std::move(mainThread)),
      preferences_(preferences),
      microphone_(microphone),
      interruption_(interruption) {}

Awaitable<void> RecordingRecognizer::requireAccess() {
  const bool granted = co_await microphone_.requestAccess();
  co_await throwIfCancelled();
  if (!granted) throw DictationError(DictationFailure::microphoneDenied);
}

Awaitable<void> RecordingRecognizer::record(Input& input, Microphone::OnSamples onSamples) {
  input.id = ++lastId_;
  const auto chosen = preferences_.microphone.get();
  input.recording = co_await microphone_.record(chosen ? std::optional(chosen->uid) : std::nullopt,
                                                std::move(onSamples), [this, &input, token = lifetime_.token()] {
                                                  if (!token.cancelled()) interrupted(input);
                                                });
}

// Told by the recording itself, which ends as soon as anybody stops the dictation: so that is left for later.
void RecordingRecognizer::interrupted(Input& input) {
  input.gone = true;
  boost::asio::post(mainThread_, [this, token = lifetime_.token(), id = input.id] {
    if (token.cancelled() || present() == nullptr || present()->id != id) return;
    Log::info("dictation", "Audio input {} while dictating", interruption_);
    if (onInterrupted) onInterrupted();
  });
}

}  // namespace quillet
