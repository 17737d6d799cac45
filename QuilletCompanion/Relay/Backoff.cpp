// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Relay/Backoff.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>

namespace quillet {

double Backoff::nextDelay(double jitter) {
  const double delay = std::min(base * std::exp2(std::min(attempt, 16)), cap);
  ++attempt;
  return std::max(delay * std::clamp(jitter, 0.0, 1.0), 0.1);
}

double Backoff::drawJitter() {
  constexpr std::uint64_t kRange = std::uint64_t{1} << 53;
  std::random_device source;
  std::uniform_int_distribution<std::uint64_t> draw(0, kRange);
  return static_cast<double>(draw(source)) / static_cast<double>(kRange) / 2 + 0.5;
}

}  // namespace quillet
