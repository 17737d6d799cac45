// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/PercentCoding.h"

#include <charconv>

namespace quillet {
namespace {

bool isUnreserved(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
         c == '_' || c == '~';
}

}  // namespace

void PercentCoding::append(std::string& text, char byte) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto value = static_cast<unsigned char>(byte);
  text.append({'%', kDigits[value >> 4], kDigits[value & 15]});
}

std::string PercentCoding::encode(std::string_view text) {
  std::string encoded;
  for (const char c : text) {
    if (isUnreserved(c)) {
      encoded += c;
    } else {
      append(encoded, c);
    }
  }
  return encoded;
}

std::optional<std::string> PercentCoding::decode(std::string_view text) {
  std::string decoded;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '%') {
      decoded += text[at];
      continue;
    }
    unsigned char byte = 0;
    const std::string_view digits = text.substr(at + 1, 2);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
    if (error != std::errc() || digits.size() != 2 || end != digits.data() + 2) return std::nullopt;
    decoded += static_cast<char>(byte);
    at += 2;
  }
  return decoded;
}

}  // namespace quillet
