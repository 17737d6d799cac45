// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "QuilletKit/Base/Bytes.h"

/// Recorded speech as a file: 16 kHz, 16 bit, one channel.
namespace quillet::WaveFile {

inline constexpr std::size_t kHeaderSize = 44;

/// The header of a file with that many bytes of samples.
Bytes header(std::size_t size);
/// `pcm` holds little-endian samples. Gives the header and the samples behind it.
Bytes wrap(ByteView pcm);
/// The bytes of the samples, inside `file`, an even number of them. Other chunks are skipped; a length beyond the end,
/// as one who writes while recording leaves it, counts as all that is there. Absent for another form of sound, and for
/// what is no such file.
std::optional<ByteView> pcm(ByteView file);
/// Little-endian samples as numbers; an odd last byte is left out.
std::vector<std::int16_t> samples(ByteView pcm);

}  // namespace quillet::WaveFile
