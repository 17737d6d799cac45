// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/Biquad.h"

#include <cmath>
#include <numbers>

namespace quillet {
namespace {

constexpr float kInaudible = 1e-20F, kAbsurd = 1e20F;

float settled(float value) {
  const float size = std::fabs(value);
  return size > kInaudible && size < kAbsurd ? value : 0;
}

}  // namespace

Biquad Biquad::lowPass(double sampleRate, double cutoff, double doubleQ) {
  const double w = 2 * std::numbers::pi * cutoff / sampleRate;
  const double s = std::sin(w), c = std::cos(w);
  const double a0 = 1 + s / doubleQ;
  Biquad stage;
  stage.b0 = static_cast<float>((1 - c) / 2 / a0);
  stage.b1 = static_cast<float>((1 - c) / a0);
  stage.b2 = stage.b0;
  stage.a1 = static_cast<float>(-2 * c / a0);
  stage.a2 = static_cast<float>((1 - s / doubleQ) / a0);
  return stage;
}

void Biquad::settle() noexcept {
  z1 = settled(z1);
  z2 = settled(z2);
}

}  // namespace quillet
