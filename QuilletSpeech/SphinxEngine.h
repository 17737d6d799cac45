// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <filesystem>
#include <mutex>
#include <vector>

#include "QuilletSpeech/SpeechEngine.h"

namespace quillet {

struct SphinxSettings {
  std::filesystem::path model = defaultModel();
  std::size_t workers = 0;            ///< Threads that decode; 0 for as many as there are cores.
  std::size_t sessionsPerWorker = 4;  ///< More are refused as busy. What a core decodes as fast as it is spoken.
  std::chrono::milliseconds keepIdle{60'000};    ///< How long a model stays loaded that nobody uses.
  std::size_t longestSound = 310 * kSpeechRate;  ///< Samples of one utterance.

  static std::filesystem::path defaultModel();
};

/// The decoder in this process: English, without set-up, while the sound arrives. A session belongs to one worker,
/// which decodes a piece of each of its sessions in turn. Threads and models come with the first session; models are
/// let go when nobody used them for a while.
class SphinxEngine final : public SpeechEngine {
 public:
  explicit SphinxEngine(SphinxSettings settings = {});
  /// All sessions have ended.
  ~SphinxEngine() override;

  SpeechEngineInfo info() const override;
  Awaitable<std::unique_ptr<SpeechSession>> begin(SpeechOptions options) override;

 private:
  class Worker;
  class Utterance;
  class Session;
  class Place;
  Place takePlace();

  SphinxSettings settings_;
  std::mutex mutex_;
  std::vector<std::unique_ptr<Worker>> workers_;
};

}  // namespace quillet
