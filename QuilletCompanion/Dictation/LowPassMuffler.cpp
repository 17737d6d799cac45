// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/LowPassMuffler.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace quillet {
namespace {

constexpr double kCutoff = 420, kHighestCutoff = 0.45;  // Hz; share of the sample rate
constexpr double kStages[] = {1.0824, 2.6132};          // twice the quality of each, a Butterworth response
constexpr float kFilteredGain = 0.8F;
constexpr float kInaudible = 1e-20F;  // far above the denormal numbers

double usableRate(double sampleRate) {
  return sampleRate > 0 ? sampleRate : 48'000;
}

std::array<Biquad, 2> stages(double sampleRate) {
  const double cutoff = std::min(sampleRate * kHighestCutoff, kCutoff);
  return {Biquad::lowPass(sampleRate, cutoff, kStages[0]), Biquad::lowPass(sampleRate, cutoff, kStages[1])};
}

std::size_t commonFrames(std::span<const InputSamples> input) {
  std::size_t frames = std::numeric_limits<std::size_t>::max();
  for (const auto& buffer : input) {
    if (!buffer.samples.empty() && buffer.channels > 0) frames = std::min(frames, buffer.frames());
  }
  return frames == std::numeric_limits<std::size_t>::max() ? 0 : frames;
}

float audible(float sample) {
  return std::fabs(sample) < kInaudible ? 0 : sample;
}

/// One channel within the input of a callback.
struct TapSource {
  const float* first = nullptr;
  std::size_t stride = 1;
  std::size_t frames = 0;

  // Buffers of the device's own come first, where there are any.
  static TapSource interleaved(std::span<const InputSamples> input, std::size_t channel) {
    const InputSamples& buffer = input.back();
    const std::size_t stride = std::max<std::size_t>(1, buffer.channels);
    const std::size_t offset = std::min(stride - 1, channel);
    if (buffer.samples.size() <= offset) return {};
    return {buffer.samples.data() + offset, stride, (buffer.samples.size() + stride - 1 - offset) / stride};
  }
  static TapSource separate(std::span<const InputSamples> input, std::size_t channels, std::size_t channel) {
    if (input.size() + channel < channels) return {};
    const InputSamples& buffer = input[input.size() - channels + channel];
    return {buffer.samples.data(), 1, buffer.samples.size()};
  }

  void read(std::size_t start, std::span<float> chunk) const noexcept {
    const std::size_t there = std::min(chunk.size(), frames > start ? frames - start : 0);
    for (std::size_t i = 0; i < there; ++i) chunk[i] = audible(first[(start + i) * stride]);
    std::fill(chunk.begin() + static_cast<std::ptrdiff_t>(there), chunk.end(), 0.0F);
  }
};

/// Where the frames of a callback go.
class Output {
 public:
  explicit Output(std::span<const OutputSamples> buffers) : buffers_(buffers) {
    for (const auto& buffer : buffers) channels_ += buffer.channels;
  }

  void write(std::size_t start, std::span<const float> left, std::span<const float> right) const noexcept {
    std::size_t number = 0;
    for (const auto& buffer : buffers_) {
      for (std::size_t channel = 0; channel < buffer.channels; ++channel, ++number) {
        const std::size_t there = std::min(left.size(), buffer.frames() > start ? buffer.frames() - start : 0);
        float* const to = buffer.samples.data() + start * buffer.channels + channel;
        const auto fill = [&](auto sample) {
          for (std::size_t i = 0; i < there; ++i) to[i * buffer.channels] = sample(i);
        };
        if (channels_ == 1) {
          fill([&](std::size_t i) { return (left[i] + right[i]) / 2; });
        } else if (number < 2) {
          fill([from = number == 0 ? left : right](std::size_t i) { return from[i]; });
        } else {
          fill([](std::size_t) { return 0.0F; });
        }
      }
    }
  }

 private:
  std::span<const OutputSamples> buffers_;
  std::size_t channels_ = 0;
};

}  // namespace

LowPassMuffler::LowPassMuffler(const Format& format)
    : channels_(std::max<std::size_t>(1, format.channels)),
      interleaved_(format.interleaved),
      fadeStep_(
          static_cast<float>(1 / (usableRate(format.sampleRate) * std::chrono::duration<double>(fadeTime).count()))),
      left_(stages(usableRate(format.sampleRate))),
      right_(left_) {}

void LowPassMuffler::render(std::span<const InputSamples> input, std::span<const OutputSamples> output) noexcept {
  const float target = engaged.load(std::memory_order_relaxed) ? 1 : 0;
  const std::size_t frames = commonFrames(input);
  if (frames == 0) return;
  const auto channel = [&](std::size_t number) {
    return interleaved_ ? TapSource::interleaved(input, number) : TapSource::separate(input, channels_, number);
  };
  const TapSource leftSource = channel(0), rightSource = channels_ > 1 ? channel(1) : leftSource;
  const Output sink(output);
  Chunk left, right, filteredLeft, filteredRight, mixes;
  for (std::size_t start = 0; start < frames; start += kChunk) {
    const std::size_t count = std::min(kChunk, frames - start);
    leftSource.read(start, std::span(left).first(count));
    rightSource.read(start, std::span(right).first(count));
    filter(left, right, filteredLeft, filteredRight, count);
    advanceMix(target, mixes, count);
    for (std::size_t i = 0; i < count; ++i) left[i] += (filteredLeft[i] * kFilteredGain - left[i]) * mixes[i];
    for (std::size_t i = 0; i < count; ++i) right[i] += (filteredRight[i] * kFilteredGain - right[i]) * mixes[i];
    sink.write(start, std::span(left).first(count), std::span(right).first(count));
  }
}

void LowPassMuffler::filter(const Chunk& left, const Chunk& right, Chunk& filteredLeft, Chunk& filteredRight,
                            std::size_t count) noexcept {
  // Copies, which the compiler keeps in registers.
  std::array<Biquad, 2> l = left_, r = right_;
  for (std::size_t i = 0; i < count; ++i) {
    filteredLeft[i] = l[1].step(l[0].step(left[i]));
    filteredRight[i] = r[1].step(r[0].step(right[i]));
  }
  for (auto* stage : {&l[0], &l[1], &r[0], &r[1]}) stage->settle();
  left_ = l;
  right_ = r;
}

void LowPassMuffler::advanceMix(float target, Chunk& mixes, std::size_t count) noexcept {
  if (mix_ == target) {
    mixes.fill(target);
    return;
  }
  for (std::size_t i = 0; i < count; ++i) {
    mix_ = mix_ < target ? std::min(target, mix_ + fadeStep_) : std::max(target, mix_ - fadeStep_);
    mixes[i] = mix_;
  }
}

}  // namespace quillet
