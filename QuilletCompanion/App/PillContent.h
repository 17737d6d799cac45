// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include "QuilletCompanion/Dictation/DictationPhase.h"

/// What the dictation pill says and shows.
namespace quillet::PillContent {

/// Why a dictated text did not go in, for people.
std::string_view refusalText(RefusalReason reason);

/// Phases with the same number look the same: bars and animations begin anew only when it changes.
int appearance(const DictationPhase& phase);

/// The input's level over the last moments, the newest last. Main thread only.
class Levels {
 public:
  static constexpr std::size_t kCount = 16;

  /// Drops the oldest one.
  void add(float level);
  /// Silence for a phase that looks different; true then.
  bool show(const DictationPhase& phase);
  const std::array<float, kCount>& values() const { return values_; }

  /// In points, for a level from 0 to 1.
  static double barHeight(float level);

 private:
  std::array<float, kCount> values_{};
  int appearance_ = 0;
};

/// How much of a working dot is seen, from 0 to 1; `index` from the left, `seconds` of any clock that runs evenly.
double dotOpacity(std::size_t index, double seconds, bool animated);

}  // namespace quillet::PillContent
