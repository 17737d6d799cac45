// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/LowPassMuffler.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>
#include <numbers>

namespace {

thread_local long allocations = 0;

}  // namespace

// Of the whole test program: they only count. Weak, since the thread sanitizer brings its own.
[[gnu::weak]] void* operator new(std::size_t size) {
  ++allocations;
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}
[[gnu::weak]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::weak]] void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace quillet {
namespace {

using testing::Each;
using testing::ElementsAre;
using Samples = std::vector<float>;

static_assert(std::atomic<bool>::is_always_lock_free);

/// Renders one callback with a single input buffer into a single output buffer.
Samples render(LowPassMuffler& muffler, Samples input, std::size_t inputChannels = 2, std::size_t outputChannels = 2) {
  Samples output(input.size() / inputChannels * outputChannels, -9);
  const InputSamples from{input, inputChannels};
  const OutputSamples to{output, outputChannels};
  muffler.render(std::span(&from, 1), std::span(&to, 1));
  return output;
}

/// A muffler whose effect has faded in, and that remembers nothing but silence.
void engageFully(LowPassMuffler& muffler, double sampleRate) {
  muffler.engaged = true;
  render(muffler, Samples(static_cast<std::size_t>(sampleRate) * 2, 0));
  ASSERT_EQ(muffler.mix(), 1);
}

/// The largest sample of a tone after it went through, once the filter is used to it.
double gainAt(double frequency, double sampleRate) {
  LowPassMuffler muffler({.sampleRate = sampleRate});
  engageFully(muffler, sampleRate);
  Samples tone;
  for (int i = 0; i < static_cast<int>(sampleRate); ++i) {
    const auto sample = static_cast<float>(std::sin(2 * std::numbers::pi * frequency * i / sampleRate));
    tone.insert(tone.end(), {sample, -sample});
  }
  const Samples played = render(muffler, tone);
  double square = 0;
  for (std::size_t i = played.size() / 2; i < played.size(); ++i) square += played[i] * played[i];
  return std::sqrt(square / static_cast<double>(played.size()) * 4);
}

TEST(LowPassMufflerTest, IsAButterworthFilterOfFourthOrder) {
  for (const double sampleRate : {44'100.0, 48'000.0, 192'000.0, 800.0}) {
    const double cutoff = sampleRate == 800 ? 360 : 420;
    for (const double frequency : {50.0, 220.0, 300.0, 420.0, 840.0, 2000.0}) {
      if (frequency >= sampleRate / 2) continue;
      const auto warped = [&](double f) { return std::tan(std::numbers::pi * f / sampleRate); };
      const double expected = 0.8 / std::sqrt(1 + std::pow(warped(frequency) / warped(cutoff), 8));
      EXPECT_NEAR(gainAt(frequency, sampleRate), expected, 0.002) << frequency << " Hz at " << sampleRate;
    }
  }
}

TEST(LowPassMufflerTest, FadesInThreeTenthsOfASecond) {
  LowPassMuffler muffler({.sampleRate = 44'100});
  render(muffler, Samples(20'000, 0.5F));
  EXPECT_EQ(muffler.mix(), 0);
  muffler.engaged = true;
  render(muffler, Samples(2, 0.5F));
  EXPECT_FLOAT_EQ(muffler.mix(), 1.0F / 13'230);
  render(muffler, Samples(2 * 13'229, 0.5F));
  EXPECT_NEAR(muffler.mix(), 1, 1e-3);
  render(muffler, Samples(40, 0.5F));
  EXPECT_EQ(muffler.mix(), 1);
  // It turns round wherever it is.
  muffler.engaged = false;
  render(muffler, Samples(2 * 6615, 0.5F));
  EXPECT_NEAR(muffler.mix(), 0.5, 1e-3);
  muffler.engaged = true;
  render(muffler, Samples(2 * 1323, 0.5F));
  EXPECT_NEAR(muffler.mix(), 0.6, 1e-3);
  EXPECT_EQ(LowPassMuffler({.sampleRate = 0}).mix(), 0);
}

TEST(LowPassMufflerTest, FitsChannelsToTheOutput) {
  LowPassMuffler stereo({}), mono({.channels = 1});
  EXPECT_THAT(render(stereo, {0.25F, 0.75F}, 2, 1), ElementsAre(0.5F));
  EXPECT_THAT(render(stereo, {0.25F, 0.75F}, 2, 4), ElementsAre(0.25F, 0.75F, 0, 0));
  EXPECT_THAT(render(mono, {0.25F, 0.75F}, 1, 2), ElementsAre(0.25F, 0.25F, 0.75F, 0.75F));
  // Channels are counted across buffers; one without data is counted and left alone.
  Samples input{0.25F, 0.75F}, first{9}, third{9, 9};
  const InputSamples from{input, 2};
  const OutputSamples to[] = {{first, 1}, {{}, 1}, {third, 2}};
  stereo.render(std::span(&from, 1), to);
  EXPECT_THAT(first, ElementsAre(0.25F));
  EXPECT_THAT(third, ElementsAre(0, 0));
}

TEST(LowPassMufflerTest, FindsTheTapAmongTheInputBuffers) {
  Samples device{1, 2, 3, 4}, left{0.1F, 0.2F, 0.3F}, right{0.4F, 0.5F, 0.6F}, output(8, -9);
  const OutputSamples to{output, 2};
  LowPassMuffler separate({.interleaved = false});
  const InputSamples buffers[] = {{device, 1}, {{}, 2}, {left, 1}, {right, 1}};
  separate.render(buffers, std::span(&to, 1));
  EXPECT_THAT(output, ElementsAre(0.1F, 0.4F, 0.2F, 0.5F, 0.3F, 0.6F, -9, -9)) << "as many frames as all have";

  LowPassMuffler interleaved({});
  Samples both{0.1F, 0.4F};
  const InputSamples tapLast[] = {{device, 1}, {both, 2}};
  interleaved.render(tapLast, std::span(&to, 1));
  EXPECT_THAT(std::span(output).first(2), ElementsAre(0.1F, 0.4F));
  const InputSamples tapEmpty[] = {{device, 1}, {{}, 2}};
  interleaved.render(tapEmpty, std::span(&to, 1));
  EXPECT_THAT(std::span(output).first(8), Each(0));

  output.assign(8, -9);
  const InputSamples nothing[] = {{{}, 2}, {device, 0}};
  interleaved.render(nothing, std::span(&to, 1));
  interleaved.render({}, std::span(&to, 1));
  EXPECT_THAT(output, Each(-9));
}

TEST(LowPassMufflerTest, ForgetsWhatIsNoNumber) {
  LowPassMuffler muffler({});
  engageFully(muffler, 48'000);
  render(muffler, {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()});
  const Samples later = render(muffler, Samples(20'000, 0.5F));
  EXPECT_NEAR(later[19'998], 0.4, 1e-3);
  EXPECT_NEAR(later[19'999], 0.4, 1e-3);
}

TEST(LowPassMufflerTest, LeavesNoDenormalNumbersBehind) {
  LowPassMuffler muffler({});
  engageFully(muffler, 48'000);
  render(muffler, Samples(960, 1));
  for (int callback = 0; callback < 400; ++callback) {
    for (const float sample : render(muffler, Samples(960, std::numeric_limits<float>::denorm_min()))) {
      ASSERT_NE(std::fpclassify(sample), FP_SUBNORMAL) << "callback " << callback;
    }
  }
  EXPECT_THAT(render(muffler, Samples(960, 0)), Each(0));
}

TEST(LowPassMufflerTest, TakesNoMemory) {
  LowPassMuffler muffler({});
  muffler.engaged = true;
  Samples input(1920, 0.5F), output(1920);
  const InputSamples from{input, 2};
  const OutputSamples to{output, 2};
  const long before = allocations;
  for (int callback = 0; callback < 100; ++callback) muffler.render(std::span(&from, 1), std::span(&to, 1));
  EXPECT_EQ(allocations, before);
  if (*std::make_unique<long>(before) == allocations) GTEST_SKIP() << "a sanitizer counts in our place";
}

}  // namespace
}  // namespace quillet
