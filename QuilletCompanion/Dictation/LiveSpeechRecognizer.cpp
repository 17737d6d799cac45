// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/LiveSpeechRecognizer.h"

#include <atomic>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <utility>
#include <vector>

#include "QuilletCompanion/Dictation/DictationFailure.h"
#include "QuilletCompanion/Dictation/DictationPCM.h"
#include "QuilletKit/Async/ThrowIfCancelled.h"
#include "QuilletKit/Base/Log.h"

namespace quillet {
namespace {

/// What the user is told of an engine's failure; a cancellation stays one.
[[noreturn]] void rethrow(const std::exception_ptr& error, const char* what) {
  try {
    std::rethrow_exception(error);
  } catch (const SpeechError& failed) {
    if (failed.failure == SpeechFailure::languageUnsupported) {
      throw DictationError(DictationFailure::languageUnsupported);
    }
    if (failed.failure == SpeechFailure::modelNotInstalled) throw DictationError(DictationFailure::modelNotInstalled);
    Log::error("dictation", "{}: {}", what, failed.what());
  } catch (const std::exception& failed) {
    if (isCancellation(failed)) throw;
    Log::error("dictation", "{}: {}", what, failed.what());
  }
  throw DictationError(DictationFailure::recognitionFailed);
}

}  // namespace

/// One recording with its engine's session. Its parts end in the reverse order of these lines. Shared only so that
/// sound that is still on its way between the threads finds out that it is gone; owned by the main thread.
struct LiveSpeechRecognizer::Utterance {
  std::shared_ptr<SpeechEngine> engine;
  std::unique_ptr<SpeechSession> session;
  std::atomic<float> level{0};
  Input input;
};

LiveSpeechRecognizer::LiveSpeechRecognizer(Executor mainThread, const DictationPreferences& preferences,
                                           Microphone& microphone, MakeEngine makeEngine,
                                           std::function<UserLocale()> userLocale)
    : RecordingRecognizer(std::move(mainThread), preferences, microphone, "changed"),
      makeEngine_(std::move(makeEngine)),
      userLocale_(std::move(userLocale)) {}

LiveSpeechRecognizer::~LiveSpeechRecognizer() = default;

Awaitable<void> LiveSpeechRecognizer::start(RecognitionLanguage language) {
  if (utterance_) throw DictationError(DictationFailure::microphoneUnavailable);
  co_await requireAccess();
  const auto utterance = co_await beginSession(language);
  co_await throwIfCancelled();
  co_await record(utterance);
  co_await throwIfCancelled();
  if (utterance->input.gone) throw DictationError(DictationFailure::microphoneUnavailable);
  utterance_ = utterance;
}

Awaitable<std::shared_ptr<LiveSpeechRecognizer::Utterance>> LiveSpeechRecognizer::beginSession(
    RecognitionLanguage language) {
  auto utterance = std::make_shared<Utterance>();
  SpeechOptions options{.language = speechLocale(language, userLocale_()), .style = preferences_.style.get()};
  std::exception_ptr error;
  try {
    utterance->engine = makeEngine_(preferences_.deviceEngine.get());
    utterance->session = co_await utterance->engine->begin(std::move(options));
  } catch (...) {
    error = std::current_exception();
  }
  if (error) rethrow(error, "Analyzer did not start");
  co_return utterance;
}

// The session takes its sound on the main thread, in the order in which the sound thread has sent it there.
Awaitable<void> LiveSpeechRecognizer::record(const std::shared_ptr<Utterance>& utterance) {
  const std::weak_ptr<Utterance> weak = utterance;
  auto onSamples = [weak, level = &utterance->level, main = mainThread_](std::span<const std::int16_t> samples) {
    level->store(speechLevel(samples));
    boost::asio::post(main, [weak, copy = std::vector(samples.begin(), samples.end())] {
      if (const auto known = weak.lock()) known->session->accept(copy);
    });
  };
  co_await RecordingRecognizer::record(utterance->input, std::move(onSamples));
}

const RecordingRecognizer::Input* LiveSpeechRecognizer::present() const {
  return utterance_ ? &utterance_->input : nullptr;
}

float LiveSpeechRecognizer::currentLevel() const {
  return utterance_ ? utterance_->level.load() : 0;
}

Awaitable<std::string> LiveSpeechRecognizer::finish() {
  const auto utterance = std::exchange(utterance_, nullptr);
  if (!utterance) throw DictationError(DictationFailure::recognitionFailed);
  utterance->input.recording.reset();
  co_await boost::asio::post(mainThread_, boost::asio::use_awaitable);  // behind the last sound
  std::exception_ptr error;
  try {
    co_return co_await utterance->session->finish();
  } catch (...) {
    error = std::current_exception();
  }
  rethrow(error, "Recognition failed");
}

void LiveSpeechRecognizer::cancel() {
  utterance_.reset();
}

}  // namespace quillet
