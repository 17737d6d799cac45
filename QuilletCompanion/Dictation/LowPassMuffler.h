// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <span>

#include "QuilletCompanion/Dictation/Biquad.h"

namespace quillet {

/// One of the buffers that a sound callback brings: frames of `channels` samples each.
template <typename Sample>
struct SampleBuffer {
  std::span<Sample> samples;  ///< Empty where it has no data.
  std::size_t channels = 0;

  std::size_t frames() const { return channels == 0 ? 0 : samples.size() / channels; }
};

using InputSamples = SampleBuffer<const float>;
using OutputSamples = SampleBuffer<float>;

/// What makes music sound as from the next room: a fourth-order low-pass that fades in and out. `engaged` may be
/// written by any thread, `render` belongs to the sound thread.
class LowPassMuffler {
 public:
  static constexpr std::chrono::milliseconds fadeTime{300};

  struct Format {
    double sampleRate = 48'000;  ///< In Hz; what isn't above zero counts as 48,000.
    std::size_t channels = 2;    ///< Of the input; none counts as one.
    bool interleaved = true;     ///< In the last input buffer; else one channel in each of the last buffers.
  };

  explicit LowPassMuffler(const Format& format);

  /// Whether the effect is wanted. Takes effect at the next callback.
  std::atomic<bool> engaged{false};

  /// Filters as many frames as every input buffer has. Channels are counted across the output buffers: the first two
  /// get left and right, a single one their mean, others silence. Takes no lock and no memory.
  void render(std::span<const InputSamples> input, std::span<const OutputSamples> output) noexcept;

  float mix() const { return mix_; }  ///< 0 untouched, 1 full effect. Of the sound thread.

 private:
  static constexpr std::size_t kChunk = 256;
  using Chunk = std::array<float, kChunk>;

  void advanceMix(float target, Chunk& mixes, std::size_t count) noexcept;
  void filter(const Chunk& left, const Chunk& right, Chunk& filteredLeft, Chunk& filteredRight,
              std::size_t count) noexcept;

  const std::size_t channels_;
  const bool interleaved_;
  const float fadeStep_;
  float mix_ = 0;
  std::array<Biquad, 2> left_, right_;
};

}  // namespace quillet
