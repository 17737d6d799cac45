// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/WaveFile.h"

#include <algorithm>

namespace quillet {
namespace {

constexpr std::uint32_t kRate = 16'000;
constexpr std::uint32_t kBytesASample = 2;
constexpr std::uint32_t kPCM = 1;
constexpr std::uint32_t kFormatSize = 16;
constexpr std::size_t kRIFFHeader = 12;
constexpr std::size_t kChunkHeader = 8;

void putText(Bytes& out, std::string_view text) {
  out.insert(out.end(), text.begin(), text.end());
}

void put(Bytes& out, std::uint32_t number, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<std::uint8_t>(number >> (8 * i)));
}

std::uint32_t get(ByteView bytes, std::size_t offset, std::size_t size) {
  std::uint32_t number = 0;
  for (std::size_t i = size; i-- > 0;) number = number << 8 | bytes[offset + i];
  return number;
}

bool isOurForm(ByteView format) {
  return format.size() >= kFormatSize && get(format, 0, 2) == kPCM && get(format, 2, 2) == 1 &&
         get(format, 4, 4) == kRate && get(format, 14, 2) == 8 * kBytesASample;
}

}  // namespace

Bytes WaveFile::header(std::size_t size) {
  const auto length = static_cast<std::uint32_t>(size);
  Bytes file;
  file.reserve(kHeaderSize);
  putText(file, "RIFF");
  put(file, length + 36, 4);
  putText(file, "WAVEfmt ");
  put(file, kFormatSize, 4);
  put(file, kPCM, 2);
  put(file, 1, 2);  // channels
  put(file, kRate, 4);
  put(file, kRate * kBytesASample, 4);
  put(file, kBytesASample, 2);
  put(file, 8 * kBytesASample, 2);
  putText(file, "data");
  put(file, length, 4);
  return file;
}

Bytes WaveFile::wrap(ByteView pcm) {
  Bytes file = header(pcm.size());
  file.reserve(kHeaderSize + pcm.size());
  file.insert(file.end(), pcm.begin(), pcm.end());
  return file;
}

std::optional<ByteView> WaveFile::pcm(ByteView file) {
  if (file.size() < kRIFFHeader || textOf(file.first(4)) != "RIFF" || textOf(file.subspan(8, 4)) != "WAVE") return {};
  bool ours = false;
  ByteView rest = file.subspan(kRIFFHeader);
  while (rest.size() >= kChunkHeader) {
    const std::string_view name = textOf(rest.first(4));
    const std::size_t size = get(rest, 4, 4);
    rest = rest.subspan(kChunkHeader);
    const ByteView chunk = rest.first(std::min(size, rest.size()));
    if (name == "fmt ") ours = isOurForm(chunk);
    if (name == "data") return ours ? std::optional(chunk.first(chunk.size() & ~std::size_t{1})) : std::nullopt;
    rest = rest.subspan(std::min(size + size % 2, rest.size()));
  }
  return std::nullopt;
}

std::vector<std::int16_t> WaveFile::samples(ByteView pcm) {
  std::vector<std::int16_t> samples(pcm.size() / kBytesASample);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i] = static_cast<std::int16_t>(pcm[2 * i] | pcm[2 * i + 1] << 8);
  }
  return samples;
}

}  // namespace quillet
