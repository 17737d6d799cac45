// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/WaveFile.h"

#include <algorithm>

#include "Fuzz/FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillet;
  const ByteView file(data, size);
  const auto sound = WaveFile::pcm(file);
  if (!sound) return 0;
  fuzz::require(sound->size() % 2 == 0);
  fuzz::require(sound->empty() || (sound->data() >= data && sound->data() + sound->size() <= data + size));
  fuzz::require(WaveFile::samples(*sound).size() == sound->size() / 2);
  const Bytes wrapped = WaveFile::wrap(*sound);
  const auto again = WaveFile::pcm(wrapped);
  fuzz::require(again && std::ranges::equal(*again, *sound));
  return 0;
}
