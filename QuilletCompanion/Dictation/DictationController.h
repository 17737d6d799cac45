// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "QuilletCompanion/Dictation/DictationPhase.h"
#include "QuilletCompanion/Dictation/DictationRecognizer.h"
#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Base/Observable.h"

namespace quillet {

struct DictationTimings {
  /// A dictation begun by `hold` that ends sooner is a slip, and is cancelled.
  Duration minimumHold = std::chrono::milliseconds(300);
  /// Within this time after the press, another key cancels a hold.
  Duration interruptWindow = std::chrono::seconds(1);
  /// The longest time in `Listening`, after which the recording stops as usual.
  Duration maximumDuration = std::chrono::seconds(300);
  Duration insertedVisible = std::chrono::milliseconds(1200);
  Duration failedVisible = std::chrono::seconds(4);
  Duration notInsertedVisible = std::chrono::seconds(10);
  /// The period of metering and of the look at the time limit; without it there is neither.
  std::optional<Duration> tick = std::chrono::milliseconds(50);
};

struct DictationInserted {};
struct DictationNotInserted {
  RefusalReason reason;
};
using DictationInsertion = std::variant<DictationInserted, DictationNotInserted>;

/// The state machine of one dictation: from a press through the recogniser's text to its insertion, and the outcome
/// shown for a while. Operations never suspend; which of them an event means in which phase is the caller's business.
/// Main thread only.
class DictationController {
 public:
  using Insert = std::function<Awaitable<DictationInsertion>(std::string text)>;

  /// `recognizer` outlives this. `language` is asked at every start.
  DictationController(Executor mainThread, DictationRecognizer& recognizer,
                      std::function<RecognitionLanguage()> language, TimeSource time, DictationTimings timings = {});
  ~DictationController();

  /// Begins a new dictation, whatever was shown.
  void start(DictationTrigger trigger);
  /// Ends the recording and goes on to its text. While the recogniser is starting, does so once it has started.
  void stop();
  /// Abandons what is in progress. Nothing is shown, and the text, if there will be any, isn't inserted.
  void cancel();
  void holdReleased();
  /// Another key was pressed during a hold.
  void holdInterrupted();
  /// Takes a shown outcome away before its time.
  void dismiss();

  const Observable<DictationPhase>& phase() const { return phase_; }
  /// Input level from 0 to 1.
  const Observable<float>& level() const { return level_; }
  /// The last text that the recogniser gave.
  const Observable<std::optional<std::string>>& lastText() const { return lastText_; }

  /// Told every change of phase.
  std::function<void(const DictationPhase&)> onPhaseChange;
  /// Puts the text into the field. Cancelled when the dictation is.
  Insert insert;

 private:
  using Session = std::int64_t;

  void changePhase(const DictationPhase& phase);
  /// Ends the session's dictation with `outcome`, which goes away by itself.
  void present(Session session, const DictationPhase& outcome);
  Duration visibleTime(const DictationPhase& outcome) const;
  /// Whether the wall clock has moved on by less than that since the press.
  bool pressedWithin(Duration duration) const;
  Awaitable<void> runStarts(Task::Token token);
  Awaitable<void> startRecognizer(Task::Token token, Session session);
  void beginListening(Session session);
  void startTicker();
  void tick();
  Awaitable<void> finish(Task::Token token, Session session);
  Awaitable<void> finishAndInsert(Task::Token token, Session session);

  DictationRecognizer& recognizer_;
  std::function<RecognitionLanguage()> language_;
  TimeSource time_;
  DictationTimings timings_;
  Observable<DictationPhase> phase_;
  Observable<float> level_{0.0F};
  Observable<std::optional<std::string>> lastText_;
  /// Grows with every start and cancel; work for an earlier one changes nothing any more.
  Session session_ = 0;
  DictationTrigger trigger_ = DictationTrigger::toggle;
  std::int64_t pressedAt_ = 0;
  bool stopRequested_ = false;
  /// The session whose start waits for the recogniser to come back from an earlier one.
  std::optional<Session> wantedStart_;
  bool startsRun_ = false;
  Task ticker_;
  Task dismissal_;
  Task starting_;
  Task work_;
};

}  // namespace quillet
