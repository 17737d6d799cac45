// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace quillet::test {

enum class ModelPhase { idle, starting, listening, transcribing, inserted, notInserted, failed };
enum class ModelEvent { toggle, holdDown, holdUp, holdInterrupted, cancel, stop, dismiss };

/// What a dictation should do, written down without any concurrency: work in flight is a list of the sessions that it
/// was begun for. Times in milliseconds.
class DictationModel {
 public:
  ModelPhase phase = ModelPhase::idle;
  std::int64_t now = 0;
  std::vector<std::string> calls;  ///< What the recogniser was asked.
  std::vector<std::string> texts;  ///< What was handed to the insertion.
  std::optional<std::string> lastText;
  std::deque<std::int64_t> starts, finishes, insertions;  ///< In flight, by session.
  bool obeysCancellation = true;

  void apply(ModelEvent event) {
    using E = ModelEvent;
    using P = ModelPhase;
    const bool shown = phase == P::inserted || phase == P::notInserted || phase == P::failed;
    const bool recording = phase == P::starting || phase == P::listening;
    const bool fresh = phase == P::idle || shown;
    if (event == E::toggle && fresh) start(false);
    if (event == E::toggle && recording) stop();
    if (event == E::holdDown && fresh) start(true);
    if (event == E::holdUp && recording && hold_) stop();
    if (event == E::holdInterrupted && recording && hold_ && now - pressedAt_ < 1000) cancel();
    if (event == E::cancel && (recording || phase == P::transcribing)) cancel();
    if (event == E::stop && recording) stop();
    if (event == E::dismiss && shown) phase = P::idle;
  }

  void startEnded(bool success) {
    const auto session = take(starts);
    if (session != session_) {
      if (success) calls.push_back("cancel");
    } else if (!success) {
      present(ModelPhase::failed, 4000);
    } else {
      phase = ModelPhase::listening;
      since_ = now;
      if (stopRequested_) stop();
    }
    if (wanted_ && *wanted_ == session_) callStart();
    wanted_.reset();
  }
  void finishEnded(const std::optional<std::string>& text) {
    if (take(finishes) != session_) return;
    if (!text || text->empty()) return present(ModelPhase::failed, 4000);
    lastText = text;
    texts.push_back(*text);
    insertions.push_back(session_);
  }
  void insertionEnded(bool success) {
    if (take(insertions) != session_) return;
    success ? present(ModelPhase::inserted, 1200) : present(ModelPhase::notInserted, 10'000);
  }
  void advance(std::int64_t duration) {
    const std::int64_t target = now + duration;
    if (phase == ModelPhase::listening && since_ + 300'000 <= target) {
      now = std::max(now, since_ + 300'000);
      stop();
    }
    const bool shown = phase == ModelPhase::inserted || phase == ModelPhase::notInserted || phase == ModelPhase::failed;
    if (shown && goesAt_ <= target) phase = ModelPhase::idle;
    now = target;
  }

 private:
  static std::int64_t take(std::deque<std::int64_t>& inFlight) {
    const auto session = inFlight.front();
    inFlight.pop_front();
    return session;
  }
  void start(bool hold) {
    ++session_;
    hold_ = hold;
    pressedAt_ = now;
    stopRequested_ = false;
    phase = ModelPhase::starting;
    starts.empty() ? callStart() : void(wanted_ = session_);
  }
  void callStart() {
    calls.push_back("start");
    starts.push_back(session_);
  }
  void stop() {
    const bool slip = hold_ && now - pressedAt_ < 300;
    if (slip) return cancel();
    if (phase == ModelPhase::starting) {
      stopRequested_ = true;
    } else {
      phase = ModelPhase::transcribing;
      calls.push_back("finish");
      finishes.push_back(session_);
    }
  }
  void cancel() {
    if (phase != ModelPhase::starting) calls.push_back("cancel");
    if (obeysCancellation) {
      std::erase(finishes, session_);
      std::erase(insertions, session_);
    }
    ++session_;
    phase = ModelPhase::idle;
  }
  void present(ModelPhase outcome, std::int64_t visible) {
    phase = outcome;
    goesAt_ = now + visible;
  }

  std::int64_t session_ = 0;
  bool hold_ = false;
  bool stopRequested_ = false;
  std::int64_t pressedAt_ = 0, since_ = 0, goesAt_ = 0;
  std::optional<std::int64_t> wanted_;
};

}  // namespace quillet::test
