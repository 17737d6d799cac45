// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <mutex>
#include <span>
#include <string>

#include "QuilletKit/Base/Bytes.h"
#include "QuilletKit/Base/PageBuffer.h"

namespace quillet {

/// The sound of one utterance as it grows: 16 kHz, 16 bit, mono, at most 300 seconds. Samples come on the sound
/// thread; everything may be called from any thread.
class DictationPCM {
 public:
  static constexpr std::size_t kCapacity = 9'600'000;  ///< Bytes.

  /// Keeps what fits and drops the rest. Neither waits long nor allocates.
  void append(std::span<const std::int16_t> samples);
  /// From here on samples are dropped and the level is 0.
  void close();
  /// Of the newest samples, from 0 (-50 dBFS and below) to 1 (full scale).
  float level() const;
  /// Bytes so far.
  std::size_t size() const;
  /// At most `count` bytes from `offset` on, little-endian.
  std::string bytes(std::size_t offset, std::size_t count) const;
  /// All of it as a file.
  Bytes wave() const;

 private:
  mutable std::mutex lock_;
  PageBuffer audio_{kCapacity};  ///< So that the sound thread never waits for memory.
  bool accepting_ = true;
  float level_ = 0;
};

/// The level of some samples, from 0 (-50 dBFS and below) to 1 (full scale); 0 of none.
float speechLevel(std::span<const std::int16_t> samples);

}  // namespace quillet
