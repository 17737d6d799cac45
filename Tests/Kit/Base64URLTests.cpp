// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/Base64URL.h"

#include <gtest/gtest.h>

#include <string>

namespace quillet {
namespace {

TEST(Base64URL, EveryLengthAndByteComesBack) {
  for (std::size_t length = 0; length < 300; ++length) {
    Bytes bytes(length);
    for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + length);
    const std::string text = Base64URL::encode(bytes);
    EXPECT_EQ(text.size(), (length * 8 + 5) / 6);
    EXPECT_EQ(text.find_first_of("+/="), std::string::npos);
    EXPECT_EQ(Base64URL::decode(text), bytes) << length;
  }
}

TEST(Base64URL, OnlyTheAlphabetIsAccepted) {
  const std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_+/";
  for (int position = 0; position < 7; ++position) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string text = "AAAAAAA";
      text[position] = static_cast<char>(byte);
      const bool pad = position == 6 && byte == '=';  // Completed by a second one.
      EXPECT_EQ(Base64URL::decode(text).has_value(), pad || alphabet.find(static_cast<char>(byte)) != alphabet.npos)
          << byte << " at " << position;
    }
  }
}

}  // namespace
}  // namespace quillet
