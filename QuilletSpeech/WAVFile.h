// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "QuilletKit/Base/Bytes.h"

/// The one form of sound on the wire: RIFF/WAVE of 16 kHz, 16 bit, one channel, not compressed.
namespace quillet::WAVFile {

inline constexpr std::size_t kHeaderSize = 44;

/// The header of a file with that many bytes of samples.
Bytes header(std::size_t size);
/// Header and samples.
Bytes wrap(std::span<const std::int16_t> samples);
/// The bytes of the samples, inside `file`, an even number of them. Other chunks are skipped; a length beyond the end,
/// as one who writes while recording leaves it, counts as all that is there. Absent for another form of sound, and for
/// what is no such file.
std::optional<ByteView> samples(ByteView file);

/// Little-endian samples of bytes; an odd last byte is left out.
std::vector<std::int16_t> decode(ByteView bytes);

}  // namespace quillet::WAVFile
