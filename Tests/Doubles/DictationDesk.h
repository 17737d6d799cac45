// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletCompanion/Dictation/DictationFeature.h"
#include "QuilletCompanion/Dictation/DictationRecognizer.h"
#include "Tests/Doubles/FakeSound.h"
#include "Tests/Doubles/FakeSystemKeyboard.h"

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

/// Permission for others' sound as the test gives it.
class StubSystemAudio final : public SystemAudioAccess {
 public:
  Status now = Status::authorized;
  Status afterRequest = Status::authorized;
  int requests = 0;

  Status status() const override { return now; }
  Awaitable<bool> request() override {
    ++requests;
    now = afterRequest;
    co_return now == Status::authorized;
  }
  void openSettings() override {}
};

/// All that dictation needs of a desktop, in memory. The device's recogniser is a stub that the test answers.
struct DictationDesk {
  FakeMicrophone microphone;
  FakeAudioDevices devices;
  FakeSystemKeyboard keyboard;
  StubSystemAudio systemAudio;
  FakeMuffleRoutes routes;
  FakeMediaPlayers players;
  StubRecognizer* deviceRecognizer = nullptr;  ///< Of the newest feature.

  DictationParts parts(Executor mainThread, TimeSource time, TypedPreferenceStore& store) {
    return {.mainThread = std::move(mainThread),
            .time = std::move(time),
            .store = store,
            .platform = platform(),
            .makeSocket = [](HTTPRequest, std::size_t) -> std::unique_ptr<WebSocketTask> {
              throw std::logic_error("no stream was expected");
            }};
  }
  DictationPlatform platform() {
    return {.microphone = microphone,
            .audioDevices = devices,
            .keyboard = keyboard,
            .systemAudio = systemAudio,
            .muffleRoutes = routes,
            .otherSound = players,
            .mediaPlayers = players,
            .makeDeviceRecognizer = [this](const DictationPreferences&) {
              auto made = std::make_unique<StubRecognizer>();
              deviceRecognizer = made.get();
              return made;
            }};
  }
};

}  // namespace quillet::test
