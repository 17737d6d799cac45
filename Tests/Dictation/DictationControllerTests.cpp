// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/DictationController.h"

#include <random>

#include "Tests/Dictation/DictationModel.h"
#include "Tests/Doubles/DictationDesk.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/VirtualTime.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
using namespace DictationPhases;
using Trigger = DictationTrigger;

/// A controller whose recogniser and insertion hang until they are answered.
struct Rig {
  VirtualTime time;
  StubRecognizer recognizer;
  HeldCalls<DictationInsertion> insertions;
  std::vector<std::string> texts;
  std::vector<DictationPhase> told;
  RecognitionLanguage language = RecognitionLanguage::nl;
  std::unique_ptr<DictationController> controller;

  explicit Rig(DictationTimings timings = {}) {
    controller = std::make_unique<DictationController>(
        time.executor(), recognizer, [this] { return language; }, time.source(), timings);
    controller->insert = [this](std::string text) -> Awaitable<DictationInsertion> {
      texts.push_back(std::move(text));
      co_return co_await insertions.call();
    };
    controller->onPhaseChange = [this](const DictationPhase& phase) { told.push_back(phase); };
  }
  ~Rig() {
    controller.reset();
    time.run();
  }

  const DictationPhase& phase() const { return controller->phase().get(); }
  template <typename Value>
  void give(HeldCalls<Value>& calls, Value value) {
    calls.give(std::move(value));
    time.run();
  }
  void started() { give(recognizer.starts, true); }
  void finished(const std::string& text) { give(recognizer.finishes, text); }
  void inserted() { give<DictationInsertion>(insertions, DictationInserted{}); }
  void stop() {
    controller->stop();
    time.run();
  }
  /// Up to `Listening`.
  void listen(Trigger trigger = Trigger::toggle) {
    controller->start(trigger);
    time.run();
    started();
    ASSERT_TRUE(is<Listening>(phase()));
  }
};

TEST(DictationControllerTest, TellsWhatFailed) {
  Rig rig;
  const auto startFails = [&](auto error) {
    rig.controller->start(Trigger::toggle);
    rig.time.run();
    rig.recognizer.starts.fail(error);
    rig.time.run();
    return rig.phase();
  };
  const auto finishFails = [&](auto error) {
    rig.listen();
    rig.stop();
    rig.recognizer.finishes.fail(error);
    rig.time.run();
    return rig.phase();
  };
  const auto failed = [](DictationFailure failure) { return DictationPhase(Failed{failure}); };
  using enum DictationFailure;
  EXPECT_EQ(startFails(DictationError(cloudUnavailable)), failed(cloudUnavailable));
  EXPECT_EQ(startFails(std::runtime_error("device")), failed(microphoneUnavailable));
  EXPECT_EQ(finishFails(DictationError(offline)), failed(offline));
  EXPECT_EQ(finishFails(std::runtime_error("decoder")), failed(recognitionFailed));
  EXPECT_EQ(rig.controller->lastText().get(), std::nullopt);
  rig.time.advance(4s - 1ms);
  EXPECT_TRUE(is<Failed>(rig.phase()));
  rig.time.advance(1ms);
  EXPECT_TRUE(is<Idle>(rig.phase()));
}

TEST(DictationControllerTest, RefusesToInsertUntilSomebodyCan) {
  Rig rig;
  DictationController bare(
      rig.time.executor(), rig.recognizer, [] { return RecognitionLanguage::en; }, rig.time.source());
  bare.start(Trigger::toggle);
  rig.time.run();
  rig.started();
  bare.stop();
  rig.time.run();
  rig.finished("text");
  EXPECT_EQ(bare.phase().get(), DictationPhase(NotInserted{"text", RefusalReason::noAccessibility}));
  bare.dismiss();
}

TEST(DictationControllerTest, StopsByItselfAtTheTimeLimitAndWhenTheInputGoes) {
  Rig rig;
  rig.listen();
  rig.time.advance(300s - 1ms);
  EXPECT_TRUE(is<Listening>(rig.phase()));
  rig.time.advance(1ms);
  EXPECT_TRUE(is<Transcribing>(rig.phase()));
  EXPECT_TRUE(LogCapture::instance().contains("Dictation reached the time limit"));
  rig.finished("all of it");
  rig.inserted();
  rig.listen();
  rig.recognizer.onInterrupted();
  EXPECT_TRUE(is<Transcribing>(rig.phase()));

  Rig untimed({.tick = std::nullopt});
  untimed.listen();
  untimed.recognizer.level = 1;
  untimed.time.advance(1h);
  EXPECT_TRUE(is<Listening>(untimed.phase()));
  EXPECT_EQ(untimed.controller->level().get(), 0);
}

TEST(DictationControllerTest, WhoeverIsToldMayActAtOnce) {
  Rig rig;
  const auto cancelIn = [&](auto isPhase) {
    rig.controller->onPhaseChange = [&rig, isPhase](const DictationPhase& phase) {
      if (isPhase(phase)) rig.controller->cancel();
    };
    rig.recognizer.calls.clear();
    rig.controller->start(Trigger::toggle);
    rig.time.run();
    while (rig.recognizer.starts.size() > 0) rig.started();
    rig.stop();
    rig.time.advance(1min);
    EXPECT_TRUE(is<Idle>(rig.phase()));
    return rig.recognizer.calls;
  };
  EXPECT_EQ(cancelIn(is<Starting>), std::vector<std::string>{});
  EXPECT_EQ(cancelIn(is<Listening>), (std::vector<std::string>{"start nl", "cancel"}));
  EXPECT_EQ(cancelIn(is<Transcribing>), (std::vector<std::string>{"start nl", "cancel"}));

  rig.controller->onPhaseChange = [&](const DictationPhase& phase) {
    if (is<Failed>(phase)) rig.controller->start(Trigger::toggle);
  };
  rig.listen();
  rig.stop();
  rig.finished("");
  rig.time.advance(5s);
  EXPECT_TRUE(is<Starting>(rig.phase())) << "the outcome's timer ended the new dictation";
}

TEST(DictationControllerTest, MayGoAwayAtEverySuspension) {
  for (int reached = 0; reached < 5; ++reached) {
    for (const bool obeys : {true, false}) {
      Rig rig;
      rig.recognizer.starts.obeysCancellation = rig.recognizer.finishes.obeysCancellation = obeys;
      rig.insertions.obeysCancellation = obeys;
      rig.controller->start(Trigger::toggle);
      rig.time.run();
      if (reached > 0) rig.started();
      if (reached > 1) rig.stop();
      if (reached > 2) rig.finished("text");
      if (reached > 3) rig.inserted();
      rig.controller.reset();
      rig.time.run();
      while (rig.recognizer.starts.size() > 0) rig.started();
      while (rig.recognizer.finishes.size() > 0) rig.finished("late");
      while (rig.insertions.size() > 0) rig.inserted();
      EXPECT_FALSE(rig.recognizer.onInterrupted);
    }
  }
}

/// The controller beside the written-down machine, through thousands of random presses and completions.
class ModelRun {
 public:
  explicit ModelRun(std::uint32_t seed) : random_(seed) {
    model_.obeysCancellation = draw(2) == 0;
    rig_.recognizer.finishes.obeysCancellation = rig_.insertions.obeysCancellation = model_.obeysCancellation;
    rig_.recognizer.level = 0.5;
  }

  /// Empty, or how the two differ.
  std::string run(int steps) {
    for (int i = 0; i < steps; ++i) {
      history_ += step() + "; ";
      rig_.time.run();
      if (const std::string difference = compare(); !difference.empty()) return difference + " after " + history_;
    }
    return "";
  }

 private:
  int draw(int count) { return std::uniform_int_distribution(0, count - 1)(random_); }

  std::string step() {
    const int kind = draw(10);
    return kind < 4 ? event() : kind < 6 ? pass() : complete();
  }

  std::string event() {
    static const char* const names[] = {"toggle", "holdDown", "holdUp", "holdInterrupted", "cancel", "stop", "dismiss"};
    const auto event = static_cast<ModelEvent>(draw(7));
    model_.apply(event);
    apply(event);
    return names[static_cast<int>(event)];
  }

  // What an event means in each phase, as the feature knows it.
  void apply(ModelEvent event) {
    auto& controller = *rig_.controller;
    const bool fresh = !isInProgress(rig_.phase());
    switch (event) {
      case ModelEvent::toggle:
        return fresh ? controller.start(Trigger::toggle) : controller.stop();
      case ModelEvent::holdDown:
        return fresh ? controller.start(Trigger::hold) : void();
      case ModelEvent::holdUp:
        return controller.holdReleased();
      case ModelEvent::holdInterrupted:
        return controller.holdInterrupted();
      case ModelEvent::cancel:
        return controller.cancel();
      case ModelEvent::stop:
        return draw(2) == 0 ? controller.stop() : rig_.recognizer.onInterrupted();
      case ModelEvent::dismiss:
        return controller.dismiss();
    }
  }

  std::string pass() {
    static constexpr int kDurations[] = {0, 1, 2, 49, 50, 290, 299, 300, 699, 700, 1000, 1200, 4000, 10'000, 299'000};
    const int duration = kDurations[draw(std::size(kDurations))];
    model_.advance(duration);
    rig_.time.advance(std::chrono::milliseconds(duration));
    return std::to_string(duration) + " ms";
  }

  std::string complete() {
    const int outcome = draw(3);
    if (!model_.starts.empty() && draw(2) == 0) {
      model_.startEnded(outcome != 0);
      outcome != 0 ? rig_.recognizer.starts.give(true) : rig_.recognizer.starts.fail(std::runtime_error("x"));
      return outcome != 0 ? "started" : "not started";
    }
    if (!model_.finishes.empty() && draw(2) == 0) return completeFinish(outcome);
    if (model_.insertions.empty()) return "nothing";
    model_.insertionEnded(outcome != 0);
    rig_.insertions.give(outcome != 0 ? DictationInsertion(DictationInserted{})
                                      : DictationNotInserted{RefusalReason::noField});
    return outcome != 0 ? "inserted" : "refused";
  }

  std::string completeFinish(int outcome) {
    const std::string text = outcome == 1 ? "" : "text " + std::to_string(++texts_);
    model_.finishEnded(outcome == 0 ? std::nullopt : std::optional(text));
    if (outcome == 0) {
      rig_.recognizer.finishes.fail(std::runtime_error("x"));
      return "not finished";
    }
    rig_.recognizer.finishes.give(text);
    return "finished with '" + text + "'";
  }

  std::string compare() {
    const auto phase = static_cast<ModelPhase>(rig_.phase().index());
    std::vector<std::string> calls;
    for (const auto& call : rig_.recognizer.calls) calls.push_back(call.substr(0, call.find(' ')));
    if (phase != model_.phase) return "phase " + std::to_string(static_cast<int>(phase));
    if (calls != model_.calls) return "calls";
    if (rig_.texts != model_.texts) return "texts";
    if (rig_.controller->lastText().get() != model_.lastText) return "last text";
    if (rig_.recognizer.starts.size() != model_.starts.size()) return "starts";
    if (rig_.recognizer.starts.size() > 1) return "overlapping starts";
    if (rig_.recognizer.finishes.size() != model_.finishes.size()) return "finishes";
    if (rig_.insertions.size() != model_.insertions.size()) return "insertions";
    if (rig_.controller->level().get() != 0 && model_.phase != ModelPhase::listening) return "level";
    return "";
  }

  std::mt19937 random_;
  Rig rig_;
  DictationModel model_;
  int texts_ = 0;
  std::string history_;
};

TEST(DictationControllerTest, FollowsTheWrittenMachineWhateverComesInWhateverOrder) {
  for (std::uint32_t seed = 0; seed < 2000; ++seed) {
    ASSERT_EQ(ModelRun(seed).run(50), "") << "seed " << seed;
  }
}

}  // namespace
}  // namespace quillet::test
