// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/DictationController.h"

#include <utility>

#include "QuilletKit/Base/Log.h"

namespace quillet {

using namespace DictationPhases;

DictationController::DictationController(Executor mainThread, DictationRecognizer& recognizer,
                                         std::function<RecognitionLanguage()> language, TimeSource time,
                                         DictationTimings timings)
    : insert([](std::string) -> Awaitable<DictationInsertion> {
        co_return DictationNotInserted{RefusalReason::noAccessibility};
      }),
      recognizer_(recognizer),
      language_(std::move(language)),
      time_(std::move(time)),
      timings_(timings),
      ticker_(mainThread),
      dismissal_(mainThread),
      starting_(mainThread),
      work_(mainThread) {
  recognizer_.onInterrupted = [this] { stop(); };
}

DictationController::~DictationController() {
  recognizer_.onInterrupted = nullptr;
}

void DictationController::changePhase(const DictationPhase& phase) {
  if (phase_.get() == phase) return;
  phase_.set(phase);
  if (onPhaseChange) onPhaseChange(phase);
}

bool DictationController::pressedWithin(Duration duration) const {
  return std::chrono::milliseconds(time_.now() - pressedAt_) < duration;
}

void DictationController::start(DictationTrigger trigger) {
  dismissal_.cancel();
  const Session session = ++session_;
  trigger_ = trigger;
  pressedAt_ = time_.now();
  stopRequested_ = false;
  level_.set(0);
  changePhase(Starting{});
  wantedStart_ = session;
  if (std::exchange(startsRun_, true)) return;
  starting_.start([this](Task::Token token) { return runStarts(token); });
}

// Starts never overlap in the recogniser: a fresh press waits until it has come back from the start before. Of several
// that wait only the last one can still be wanted.
Awaitable<void> DictationController::runStarts(Task::Token token) {
  while (const auto session = std::exchange(wantedStart_, std::nullopt)) {
    if (*session != session_) continue;
    co_await startRecognizer(token, *session);
    if (token.cancelled()) co_return;
  }
  startsRun_ = false;
}

Awaitable<void> DictationController::startRecognizer(Task::Token token, Session session) {
  std::exception_ptr error;
  try {
    co_await recognizer_.start(language_());
  } catch (...) {
    error = std::current_exception();
  }
  if (token.cancelled()) co_return;
  if (session != session_) {
    if (!error) recognizer_.cancel();
  } else if (error) {
    present(session, Failed{failureOf(error, DictationFailure::microphoneUnavailable)});
  } else {
    beginListening(session);
  }
}

void DictationController::beginListening(Session session) {
  changePhase(Listening{time_.now()});
  if (session != session_) return;
  startTicker();
  if (stopRequested_) stop();
}

void DictationController::startTicker() {
  ticker_.cancel();
  if (!timings_.tick || !is<Listening>(phase_.get())) return;
  ticker_.start([this, time = time_, period = *timings_.tick](Task::Token token) -> Awaitable<void> {
    for (;;) {
      co_await time.sleep(period);
      if (token.cancelled()) co_return;
      tick();
      if (token.cancelled()) co_return;
    }
  });
}

void DictationController::tick() {
  const auto* listening = std::get_if<Listening>(&phase_.get());
  if (listening == nullptr) return;
  const std::chrono::milliseconds duration(time_.now() - listening->since);
  level_.set(recognizer_.currentLevel());
  if (duration < timings_.maximumDuration) return;
  Log::info("dictation", "Dictation reached the time limit");
  stop();
}

void DictationController::stop() {
  const bool isSlip = trigger_ == DictationTrigger::hold && pressedWithin(timings_.minimumHold);
  if (is<Starting>(phase_.get())) {
    stopRequested_ = true;
    if (isSlip) cancel();
  } else if (is<Listening>(phase_.get())) {
    ticker_.cancel();
    level_.set(0);
    if (isSlip) return cancel();
    const Session session = session_;
    changePhase(Transcribing{});
    if (session != session_) return;  // whoever was told has cancelled it
    work_.start([this, session](Task::Token token) { return finish(token, session); });
  }
}

Awaitable<void> DictationController::finish(Task::Token token, Session session) {
  std::exception_ptr error;
  try {
    co_await finishAndInsert(token, session);
  } catch (...) {
    error = std::current_exception();
  }
  if (!error || token.cancelled() || session != session_) co_return;
  present(session, Failed{failureOf(error, DictationFailure::recognitionFailed)});
}

Awaitable<void> DictationController::finishAndInsert(Task::Token token, Session session) {
  const std::string text = co_await recognizer_.finish();
  if (token.cancelled() || session != session_) co_return;
  if (text.empty()) throw DictationError(DictationFailure::noSpeech);
  lastText_.set(text);
  const Insert put = insert;  // may be replaced meanwhile
  const DictationInsertion result = co_await put(text);
  if (token.cancelled() || session != session_) co_return;
  const auto* refused = std::get_if<DictationNotInserted>(&result);
  present(session, refused != nullptr ? DictationPhase(NotInserted{text, refused->reason}) : Inserted{});
}

Duration DictationController::visibleTime(const DictationPhase& outcome) const {
  if (is<Inserted>(outcome)) return timings_.insertedVisible;
  return is<NotInserted>(outcome) ? timings_.notInsertedVisible : timings_.failedVisible;
}

void DictationController::present(Session session, const DictationPhase& outcome) {
  ticker_.cancel();
  level_.set(0);
  changePhase(outcome);
  if (session != session_) return;  // whoever was told has begun another one
  dismissal_.start(
      [this, session, time = time_, duration = visibleTime(outcome)](Task::Token token) -> Awaitable<void> {
        co_await time.sleep(duration);
        if (token.cancelled() || session != session_) co_return;
        if (!isInProgress(phase_.get())) changePhase(Idle{});
      });
}

void DictationController::cancel() {
  if (!isInProgress(phase_.get())) return;
  const bool wasStarting = is<Starting>(phase_.get());
  ++session_;
  ticker_.cancel();
  if (!wasStarting) {
    work_.cancel();
    recognizer_.cancel();
  }
  level_.set(0);
  changePhase(Idle{});
}

void DictationController::holdReleased() {
  if (trigger_ != DictationTrigger::hold) return;
  if (is<Starting>(phase_.get()) || is<Listening>(phase_.get())) stop();
}

void DictationController::holdInterrupted() {
  if (trigger_ != DictationTrigger::hold || !pressedWithin(timings_.interruptWindow)) return;
  if (is<Starting>(phase_.get()) || is<Listening>(phase_.get())) cancel();
}

void DictationController::dismiss() {
  if (isInProgress(phase_.get()) || is<Idle>(phase_.get())) return;
  dismissal_.cancel();
  changePhase(Idle{});
}

}  // namespace quillet
