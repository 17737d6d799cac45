// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletKit/Base/Bytes.h"

/// Recorded speech as a file: 16 kHz, 16 bit, one channel.
namespace quillet::WaveFile {

inline constexpr std::size_t kHeaderSize = 44;

/// `pcm` holds little-endian samples. Gives the header and the samples behind it.
Bytes wrap(ByteView pcm);

}  // namespace quillet::WaveFile
