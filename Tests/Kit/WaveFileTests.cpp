// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/WaveFile.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

TEST(WaveFile, FindsTheSamplesOfOurFormOnly) {
  const std::vector<std::int16_t> samples{1, -2, 32767, -32768};
  const Bytes file = WaveFile::wrap(Bytes{1, 0, 0xfe, 0xff, 0xff, 0x7f, 0, 0x80});
  ASSERT_EQ(file.size(), WaveFile::kHeaderSize + 8);
  EXPECT_EQ(WaveFile::samples(*WaveFile::pcm(file)), samples);

  Bytes other = file;
  other.insert(other.begin() + 12, {'L', 'I', 'S', 'T', 3, 0, 0, 0, 'a', 'b', 'c', 0});
  EXPECT_EQ(WaveFile::samples(*WaveFile::pcm(other)), samples) << "an odd chunk is padded";
  other = file;
  other[40] = other[41] = other[42] = other[43] = 0xff;
  other.push_back(9);
  EXPECT_EQ(WaveFile::samples(*WaveFile::pcm(other)), samples) << "a length beyond the end, an odd byte";

  for (const auto& [offset, value] : {std::pair{20, 3}, {22, 2}, {24, 0x40}, {34, 8}, {0, 'X'}, {8, 'X'}, {36, 'X'}}) {
    other = file;
    other[static_cast<std::size_t>(offset)] = static_cast<std::uint8_t>(value);
    EXPECT_FALSE(WaveFile::pcm(other).has_value()) << offset;
  }
  for (std::size_t size = 0; size < WaveFile::kHeaderSize; ++size) {
    EXPECT_FALSE(WaveFile::pcm(ByteView(file).first(size)).has_value()) << size;
  }
}

}  // namespace
}  // namespace quillet
