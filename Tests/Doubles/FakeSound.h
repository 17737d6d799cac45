// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "QuilletCompanion/Dictation/AudioDevices.h"
#include "QuilletCompanion/Dictation/DictationFailure.h"
#include "QuilletCompanion/Dictation/MediaPlayers.h"
#include "QuilletCompanion/Dictation/Microphone.h"
#include "QuilletCompanion/Dictation/MuffleRoute.h"
#include "Tests/Doubles/Calls.h"

namespace quillet::test {

/// Sound devices that a test plugs and unplugs; one watcher at a time.
class FakeAudioDevices final : public AudioDevices {
 public:
  std::unique_ptr<Watch> watch(std::function<void(const List&)> onList) override {
    ++watches;
    onList_ = std::move(onList);
    return std::make_unique<Ticket>(*this);
  }
  bool isWatched() const { return onList_ != nullptr; }
  /// Also what the platform does once, a moment after `watch`.
  void tell(List list) {
    if (onList_) onList_(list);
  }

  int watches = 0;

 private:
  class Ticket final : public Watch {
   public:
    explicit Ticket(FakeAudioDevices& devices) : devices_(devices) {}
    ~Ticket() override { devices_.onList_ = nullptr; }

   private:
    FakeAudioDevices& devices_;
  };

  std::function<void(const List&)> onList_;
};

/// One player that does as told and writes down what that was.
class FakeMediaPlayers final : public MediaPlayers, public OtherSound {
 public:
  Awaitable<bool> isPlaying() override {
    if (beforeAnswer) co_await beforeAnswer();
    co_return heard;
  }
  Awaitable<bool> pause() override {
    commands.push_back("pause");
    if (beforeAnswer) co_await beforeAnswer();
    co_return obeys;
  }
  Awaitable<void> play() override {
    commands.push_back("play");
    co_return;
  }
  void playNow() override { commands.push_back("play now"); }

  bool heard = true;  ///< Something is playing.
  bool obeys = true;  ///< A pause has an effect.
  std::vector<std::string> commands;
  std::function<Awaitable<void>()> beforeAnswer;  ///< How long answers take; empty for at once.
};

/// A microphone that hears what the test says into it. Everything happens on the test's thread.
class FakeMicrophone final : public Microphone {
 public:
  bool granted = true;
  bool present = true;
  /// With true the questions for access and the recordings hang until the test answers them.
  bool hangs = false;
  HeldCalls<bool> accesses, openings;
  std::vector<std::optional<std::string>> asked;  ///< The uids of all recordings.
  int recordings = 0;                             ///< Under way.

  Access access() const override { return granted ? Access::authorized : Access::denied; }
  Awaitable<bool> requestAccess() override {
    if (hangs) co_await accesses.call();
    co_return granted;
  }
  Awaitable<std::unique_ptr<MicrophoneRecording>> record(std::optional<std::string> uid, OnSamples onSamples,
                                                         std::function<void()> onInterrupted) override {
    asked.push_back(std::move(uid));
    if (hangs) co_await openings.call();
    if (!present) throw DictationError(DictationFailure::microphoneUnavailable);
    co_return std::make_unique<Recording>(*this, std::move(onSamples), std::move(onInterrupted));
  }

  /// That many milliseconds of a loud tone, in pieces of 20 and a rest.
  void speak(int milliseconds) {
    for (int left = milliseconds * 16; left > 0 && current_ != nullptr; left -= 320) {
      std::vector<std::int16_t> piece(static_cast<std::size_t>(std::min(left, 320)));
      for (auto& sample : piece) sample = ++phase_ % 32 < 16 ? kLoud : -kLoud;
      for (const auto sample : piece) spoken += {static_cast<char>(sample & 0xff), static_cast<char>(sample >> 8)};
      current_->onSamples(piece);
    }
  }
  /// The input goes away.
  void unplug() {
    if (current_ != nullptr) current_->onInterrupted();
  }

  static constexpr std::int16_t kLoud = 16'384;
  std::string spoken;  ///< All of it, as bytes.

 private:
  struct Recording final : MicrophoneRecording {
    Recording(FakeMicrophone& owner, OnSamples samples, std::function<void()> interrupted)
        : microphone(owner), onSamples(std::move(samples)), onInterrupted(std::move(interrupted)) {
      ++microphone.recordings;
      microphone.current_ = this;
    }
    ~Recording() override {
      --microphone.recordings;
      if (microphone.current_ == this) microphone.current_ = nullptr;
    }
    FakeMicrophone& microphone;
    OnSamples onSamples;
    std::function<void()> onInterrupted;
  };

  Recording* current_ = nullptr;
  int phase_ = 0;
};

/// Routes that carry nothing, and end when a test says so.
class FakeMuffleRoutes final : public MuffleRoutes {
 public:
  std::unique_ptr<MuffleRoute> build(MuffleRoute::OnEnd onEnd) override {
    ++built;
    onEnd_ = std::move(onEnd);
    return std::make_unique<Route>(*this);
  }
  void end(MuffleRoute::End how, const MuffleRoute::Failure& failure) { std::exchange(onEnd_, nullptr)(how, failure); }

  int built = 0;
  int standing = 0;
  int tornDownNow = 0;
  bool engaged = false;

 private:
  class Route final : public MuffleRoute {
   public:
    explicit Route(FakeMuffleRoutes& routes) : routes_(routes) {
      ++routes_.standing;
      routes_.engaged = false;
    }
    ~Route() override { --routes_.standing; }
    void setEngaged(bool wanted) override { routes_.engaged = wanted; }
    void tearDownNow() override { ++routes_.tornDownNow; }

   private:
    FakeMuffleRoutes& routes_;
  };

  MuffleRoute::OnEnd onEnd_;
};

}  // namespace quillet::test
