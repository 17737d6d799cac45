// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/WaveFile.h"

#include <cstdint>

namespace quillet {
namespace {

constexpr std::uint32_t kRate = 16'000;
constexpr std::uint32_t kBytesASample = 2;

void putText(Bytes& out, std::string_view text) {
  out.insert(out.end(), text.begin(), text.end());
}

void put(Bytes& out, std::uint32_t number, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<std::uint8_t>(number >> (8 * i)));
}

}  // namespace

Bytes WaveFile::wrap(ByteView pcm) {
  const auto length = static_cast<std::uint32_t>(pcm.size());
  Bytes file;
  file.reserve(kHeaderSize + pcm.size());
  putText(file, "RIFF");
  put(file, length + 36, 4);
  putText(file, "WAVEfmt ");
  put(file, 16, 4);
  put(file, 1, 2);  // PCM
  put(file, 1, 2);  // channels
  put(file, kRate, 4);
  put(file, kRate * kBytesASample, 4);
  put(file, kBytesASample, 2);
  put(file, 8 * kBytesASample, 2);
  putText(file, "data");
  put(file, length, 4);
  file.insert(file.end(), pcm.begin(), pcm.end());
  return file;
}

}  // namespace quillet
