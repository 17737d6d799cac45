// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/DictationPCM.h"

#include <algorithm>
#include <cmath>

#include "QuilletKit/Protocol/WaveFile.h"

namespace quillet {
namespace {

constexpr double kFullScale = 32767.0;
constexpr double kSilence = 0.000001;
constexpr double kRangeInDecibels = 50.0;

}  // namespace

float speechLevel(std::span<const std::int16_t> samples) {
  if (samples.empty()) return 0;
  double squares = 0;
  for (const std::int16_t sample : samples) squares += static_cast<double>(sample) * sample;
  const double rms = std::sqrt(squares / static_cast<double>(samples.size())) / kFullScale;
  const double decibels = 20.0 * std::log10(std::max(rms, kSilence));
  return static_cast<float>(std::clamp((decibels + kRangeInDecibels) / kRangeInDecibels, 0.0, 1.0));
}

void DictationPCM::append(std::span<const std::int16_t> samples) {
  const std::lock_guard guard(lock_);
  if (!accepting_) return;
  const auto kept = samples.first(std::min(samples.size(), audio_.room() / 2));
  if (kept.empty()) return;
  level_ = speechLevel(kept);
  auto place = audio_.grow(2 * kept.size()).begin();
  for (const std::int16_t sample : kept) {
    const auto bits = static_cast<std::uint16_t>(sample);
    *place++ = static_cast<std::uint8_t>(bits);
    *place++ = static_cast<std::uint8_t>(bits >> 8);
  }
}

void DictationPCM::close() {
  const std::lock_guard guard(lock_);
  accepting_ = false;
  level_ = 0;
}

float DictationPCM::level() const {
  const std::lock_guard guard(lock_);
  return level_;
}

std::size_t DictationPCM::size() const {
  const std::lock_guard guard(lock_);
  return audio_.size();
}

std::string DictationPCM::bytes(std::size_t offset, std::size_t count) const {
  const std::lock_guard guard(lock_);
  if (offset >= audio_.size()) return {};
  return std::string(textOf(audio_.bytes().subspan(offset, std::min(count, audio_.size() - offset))));
}

Bytes DictationPCM::wave() const {
  const std::lock_guard guard(lock_);
  return WaveFile::wrap(audio_.bytes());
}

}  // namespace quillet
