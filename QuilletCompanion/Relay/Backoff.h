// SPDX-License-Identifier: MIT
#pragma once

namespace quillet {

/// Exponential waits with jitter. All times in seconds.
struct Backoff {
  double base = 1.0;
  double cap = 60.0;
  int attempt = 0;

  /// min(base * 2^min(attempt, 16), cap), scaled by the jitter (0 or below: 0, above 1: unscaled), at least 0.1.
  double nextDelay(double jitter);
  /// A jitter drawn uniformly from 0.5 to 1.0 inclusive.
  static double drawJitter();
};

}  // namespace quillet
