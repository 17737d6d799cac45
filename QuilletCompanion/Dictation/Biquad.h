// SPDX-License-Identifier: MIT
#pragma once

namespace quillet {

/// A second-order filter stage in transposed direct form II.
struct Biquad {
  float b0 = 0, b1 = 0, b2 = 0, a1 = 0, a2 = 0;
  float z1 = 0, z2 = 0;  ///< What it remembers.

  /// A low-pass; `doubleQ` is twice its quality.
  static Biquad lowPass(double sampleRate, double cutoff, double doubleQ);

  float step(float x) noexcept {
    const float y = b0 * x + z1;
    z1 = z2 + b1 * x - a1 * y;
    z2 = b2 * x - a2 * y;
    return y;
  }
  /// Forgets what is too small to be heard, so that silence doesn't end in denormal numbers, which are slow; and what
  /// is no number, which would never leave it again.
  void settle() noexcept;
};

}  // namespace quillet
