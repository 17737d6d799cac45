// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Accessibility/TextUnits.h"

#include <algorithm>

namespace quillet::TextUnits {
namespace {

constexpr std::string_view filler = "\uFEFF";
constexpr std::size_t astralBytes = 4;

bool startsCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}
bool startsAstral(char byte) {
  return static_cast<unsigned char>(byte) >= 0xF0U;
}

}  // namespace

std::int64_t codePoints(std::string_view text) {
  return std::count_if(text.begin(), text.end(), startsCharacter);
}

std::int64_t utf16Length(std::string_view text) {
  return codePoints(text) + std::count_if(text.begin(), text.end(), startsAstral);
}

std::string withoutFillers(std::string_view text) {
  std::string kept;
  kept.reserve(text.size());
  std::size_t i = 0;
  while (i < text.size()) {
    const bool astral = startsAstral(text[i]);
    const std::size_t length = astral ? std::min(astralBytes, text.size() - i) : 1;
    kept.append(text.substr(i, length));
    i += length;
    if (astral && text.substr(i).starts_with(filler)) i += filler.size();
  }
  return kept;
}

}  // namespace quillet::TextUnits
