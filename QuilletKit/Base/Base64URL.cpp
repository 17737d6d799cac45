// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/Base64URL.h"

#include <array>
#include <cstdint>

namespace quillet::Base64URL {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
constexpr std::uint8_t kInvalid = 0xff;

constexpr std::array<std::uint8_t, 256> makeValues() {
  std::array<std::uint8_t, 256> values{};
  values.fill(kInvalid);
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
    values[static_cast<std::uint8_t>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
  }
  values['+'] = values['-'];
  values['/'] = values['_'];
  return values;
}
constexpr auto kValues = makeValues();

std::uint32_t valueOf(char c) {
  return kValues[static_cast<std::uint8_t>(c)];
}

std::size_t roundedUpToFour(std::size_t count) {
  return (count + 3) / 4 * 4;
}

/// The text without its padding; absent when the padding, once completed, isn't what the text's length asks for.
std::optional<std::string_view> withoutPadding(std::string_view text) {
  if (text.size() % 4 == 1) return std::nullopt;
  const std::size_t completed = roundedUpToFour(text.size());
  for (int i = 0; i < 2 && text.ends_with('='); ++i) text.remove_suffix(1);
  if (text.size() % 4 == 1 || roundedUpToFour(text.size()) != completed) return std::nullopt;
  return text;
}

}  // namespace

std::string encode(ByteView bytes) {
  std::string text((bytes.size() * 4 + 2) / 3, '\0');
  char* out = text.data();
  std::size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) {
    const std::uint32_t group = bytes[i] << 16 | bytes[i + 1] << 8 | bytes[i + 2];
    *out++ = kAlphabet[group >> 18];
    *out++ = kAlphabet[group >> 12 & 63];
    *out++ = kAlphabet[group >> 6 & 63];
    *out++ = kAlphabet[group & 63];
  }
  const std::size_t rest = bytes.size() - i;
  if (rest == 0) return text;
  const std::uint32_t group = bytes[i] << 16 | (rest == 2 ? bytes[i + 1] << 8 : 0);
  *out++ = kAlphabet[group >> 18];
  *out++ = kAlphabet[group >> 12 & 63];
  if (rest == 2) *out++ = kAlphabet[group >> 6 & 63];
  return text;
}

std::optional<Bytes> decode(std::string_view text) {
  const auto body = withoutPadding(text);
  if (!body) return std::nullopt;
  Bytes bytes(body->size() * 3 / 4);
  std::uint8_t* out = bytes.data();
  std::uint32_t seen = 0;  // Values are below 64; a higher bit tells of an invalid character.
  std::size_t i = 0;
  for (; i + 4 <= body->size(); i += 4) {
    const std::uint32_t a = valueOf((*body)[i]), b = valueOf((*body)[i + 1]);
    const std::uint32_t c = valueOf((*body)[i + 2]), d = valueOf((*body)[i + 3]);
    seen |= a | b | c | d;
    const std::uint32_t group = a << 18 | b << 12 | c << 6 | d;
    *out++ = static_cast<std::uint8_t>(group >> 16);
    *out++ = static_cast<std::uint8_t>(group >> 8);
    *out++ = static_cast<std::uint8_t>(group);
  }
  std::uint32_t group = 0;
  for (std::size_t k = i; k < body->size(); ++k) {
    seen |= valueOf((*body)[k]);
    group |= valueOf((*body)[k]) << (18 - 6 * (k - i));
  }
  for (std::size_t k = i + 1; k < body->size(); ++k) *out++ = static_cast<std::uint8_t>(group >> (24 - 8 * (k - i)));
  if (seen > 63) return std::nullopt;
  return bytes;
}

}  // namespace quillet::Base64URL
