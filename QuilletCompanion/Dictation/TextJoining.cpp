// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/TextJoining.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include "QuilletKit/Base/Unicode.h"

namespace quillet {
namespace {

constexpr std::u16string_view kOpening = u"([{“‘\"'/-«¿¡";
constexpr std::u16string_view kClosing = u".,;:!?)]}”’»…";

/// Far longer than any character that occurs in a text.
constexpr std::size_t kLongestCharacter = 256;

/// Whether a character is canonically equivalent to one of the set's.
bool isAmong(std::u16string_view set, std::u16string_view character) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status);
  if (U_FAILURE(status)) return false;
  const icu::UnicodeString source(false, character.data(), static_cast<std::int32_t>(character.size()));
  const icu::UnicodeString normal = nfc->normalize(source, status);
  return U_SUCCESS(status) && normal.length() == 1 && set.find(normal.charAt(0)) != std::u16string_view::npos;
}

bool isWhiteSpace(std::u16string_view character) {
  UChar32 scalar = 0;
  U16_GET(character.data(), 0, 0, static_cast<std::int32_t>(character.size()), scalar);
  return u_isUWhiteSpace(scalar);
}

/// One blank is missing between the two, of which neither is empty.
bool stick(std::u16string_view before, std::u16string_view text) {
  const auto tail = before.substr(before.size() - std::min(before.size(), kLongestCharacter));
  const auto last = Unicode::graphemeClusters(tail).back();
  const auto first = Unicode::graphemeClusters(text.substr(0, kLongestCharacter)).front();
  return !isWhiteSpace(last) && !isAmong(kOpening, last) && !isAmong(kClosing, first);
}

}  // namespace

std::optional<std::u16string> TextJoining::textBeforeCaret(const FieldReading& field) {
  if (!field.value || !field.selection || field.selection->location < 0) return std::nullopt;
  const auto value = Unicode::toUTF16(*field.value);
  const auto location = static_cast<std::size_t>(field.selection->location);
  if (!value || value->size() < location) return std::nullopt;
  return value->substr(0, location);
}

std::string TextJoining::joined(std::string_view recognised, const std::optional<std::u16string>& before) {
  std::string text(Unicode::trim(recognised));
  const auto units = Unicode::toUTF16(text);
  if (text.empty() || !units || !before || before->empty()) return text;
  return stick(*before, *units) ? " " + text : text;
}

}  // namespace quillet
