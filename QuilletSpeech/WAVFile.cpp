// SPDX-License-Identifier: MIT
#include "QuilletSpeech/WAVFile.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

#include "QuilletSpeech/SpeechEngine.h"

namespace quillet::WAVFile {
namespace {

static_assert(std::endian::native == std::endian::little, "samples are copied as they stand");

constexpr std::size_t kChunkHeader = 8;
constexpr std::size_t kFormatSize = 16;
constexpr std::uint16_t kPCM = 1;
constexpr std::uint16_t kSampleSize = 2;

template <typename Number>
void put(Bytes& out, Number value) {
  const auto* const raw = reinterpret_cast<const std::uint8_t*>(&value);
  out.insert(out.end(), raw, raw + sizeof value);
}

void putText(Bytes& out, std::string_view text) {
  out.insert(out.end(), text.begin(), text.end());
}

template <typename Number>
Number get(ByteView bytes, std::size_t offset) {
  Number value;
  std::memcpy(&value, bytes.subspan(offset, sizeof value).data(), sizeof value);
  return value;
}

bool isOurForm(ByteView format) {
  return format.size() >= kFormatSize && get<std::uint16_t>(format, 0) == kPCM && get<std::uint16_t>(format, 2) == 1 &&
         get<std::uint32_t>(format, 4) == kSpeechRate && get<std::uint16_t>(format, 14) == 8 * kSampleSize;
}

}  // namespace

Bytes header(std::size_t size) {
  const auto length = static_cast<std::uint32_t>(size);
  Bytes out;
  out.reserve(kHeaderSize);
  putText(out, "RIFF");
  put<std::uint32_t>(out, length + 36);
  putText(out, "WAVEfmt ");
  put<std::uint32_t>(out, kFormatSize);
  put<std::uint16_t>(out, kPCM);
  put<std::uint16_t>(out, 1);
  put<std::uint32_t>(out, kSpeechRate);
  put<std::uint32_t>(out, kSpeechRate * kSampleSize);
  put<std::uint16_t>(out, kSampleSize);
  put<std::uint16_t>(out, 8 * kSampleSize);
  putText(out, "data");
  put<std::uint32_t>(out, length);
  return out;
}

Bytes wrap(std::span<const std::int16_t> samples) {
  Bytes out = header(samples.size_bytes());
  const auto* const raw = reinterpret_cast<const std::uint8_t*>(samples.data());
  out.insert(out.end(), raw, raw + samples.size_bytes());
  return out;
}

std::optional<ByteView> samples(ByteView file) {
  constexpr std::size_t kRIFFHeader = 12;
  if (file.size() < kRIFFHeader || textOf(file.first(4)) != "RIFF" || textOf(file.subspan(8, 4)) != "WAVE") return {};
  bool ours = false;
  ByteView rest = file.subspan(kRIFFHeader);
  while (rest.size() >= kChunkHeader) {
    const std::string_view name = textOf(rest.first(4));
    const std::size_t size = get<std::uint32_t>(rest, 4);
    rest = rest.subspan(kChunkHeader);
    const ByteView chunk = rest.first(std::min(size, rest.size()));
    if (name == "fmt ") ours = isOurForm(chunk);
    if (name == "data") return ours ? std::optional(chunk.first(chunk.size() & ~std::size_t{1})) : std::nullopt;
    rest = rest.subspan(std::min(size + size % 2, rest.size()));
  }
  return std::nullopt;
}

std::vector<std::int16_t> decode(ByteView bytes) {
  std::vector<std::int16_t> samples(bytes.size() / kSampleSize);
  if (!samples.empty()) std::memcpy(samples.data(), bytes.data(), samples.size() * kSampleSize);
  return samples;
}

}  // namespace quillet::WAVFile
