// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/PillContent.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace quillet::PillContent {

std::string_view refusalText(RefusalReason reason) {
  switch (reason) {
    case RefusalReason::noField:
    case RefusalReason::focusChanged:
    case RefusalReason::appChanged:
    case RefusalReason::selectionChanged:
      return "No text field to type in";
    case RefusalReason::secureField:
      return "Can't type into a password field";
    case RefusalReason::locked:
    case RefusalReason::asleep:
      return "This Mac is locked";
    case RefusalReason::noAccessibility:
      return "Allow Accessibility to type";
    case RefusalReason::busy:
      return "Release the keys to type";
    case RefusalReason::tokenExpired:
    case RefusalReason::tokenUnknown:
    case RefusalReason::unsupportedTarget:
      break;
  }
  return "Couldn't type here";
}

int appearance(const DictationPhase& phase) {
  using namespace DictationPhases;
  if (is<Idle>(phase)) return 0;
  if (is<Starting>(phase) || is<Listening>(phase)) return 1;
  if (is<Transcribing>(phase)) return 2;
  if (is<Inserted>(phase)) return 3;
  return is<NotInserted>(phase) ? 4 : 5;
}

void Levels::add(float level) {
  std::rotate(values_.begin(), values_.begin() + 1, values_.end());
  values_.back() = level;
}

bool Levels::show(const DictationPhase& phase) {
  const int next = appearance(phase);
  if (std::exchange(appearance_, next) == next) return false;
  values_.fill(0);
  return true;
}

double Levels::barHeight(float level) {
  constexpr double kLowest = 4, kRange = 18;
  return static_cast<double>(level) * kRange + kLowest;
}

double dotOpacity(std::size_t index, double seconds, bool animated) {
  constexpr double kPeriod = 1.2, kLag = 0.7, kStill = 0.8, kFaintest = 0.35;
  if (!animated) return kStill;
  const double wave = std::sin(2 * std::numbers::pi * seconds / kPeriod - kLag * static_cast<double>(index));
  return std::max(wave, 0.0) * (1 - kFaintest) + kFaintest;
}

}  // namespace quillet::PillContent
