// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/PlainText.h"

#include <algorithm>

#include "QuilletKit/Base/Unicode.h"

namespace quillet {
namespace {

constexpr char16_t kReplacement = u'\uFFFD';

/// Embeddings, overrides and isolates, and what ends them.
bool isReordering(char16_t unit) {
  return (unit >= u'\u202A' && unit <= u'\u202E') || (unit >= u'\u2066' && unit <= u'\u2069');
}

}  // namespace

std::string plainText(std::string_view text) {
  // All of these are single units of UTF-16.
  auto units = Unicode::toUTF16(text).value_or(std::u16string(1, kReplacement));
  std::replace_if(
      units.begin(), units.end(), [](char16_t unit) { return Unicode::isControl(unit) || isReordering(unit); },
      kReplacement);
  return Unicode::toUTF8(units).value();
}

}  // namespace quillet
