// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/ServiceModels.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include "QuilletKit/Base/Unicode.h"
#include "QuilletKit/JSON/JSONCoding.h"

namespace quillet {
namespace {

constexpr std::size_t kLengthPrefix = 4;

bool isAddressCharacter(UChar32 c) {
  constexpr std::string_view kPunctuation = "@<>(),;:\\[]\"";
  if (c < 0) return false;
  return !u_isUWhiteSpace(c) && (c > 0x7F || kPunctuation.find(static_cast<char>(c)) == std::string_view::npos);
}

/// One or more characters of an address.
bool isAddressPart(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    UChar32 c = 0;
    U8_NEXT(text.data(), at, text.size(), c);
    if (!isAddressCharacter(c)) return false;
  }
  return !text.empty();
}

}  // namespace

bool Feedback::isEmail(std::string_view text) {
  constexpr std::size_t kMaximumCharacters = 254;
  if (Unicode::cutToClusters(text, kMaximumCharacters).size() != text.size()) return false;
  const std::size_t at = text.find('@');
  if (at == std::string_view::npos) return false;
  const std::string_view domain = text.substr(at + 1);
  if (!isAddressPart(text.substr(0, at)) || !isAddressPart(domain)) return false;
  const std::size_t dot = domain.find('.', 1);
  return dot != std::string_view::npos && dot + 1 < domain.size();
}

std::string TranscribeBody::build(const TranscribeMeta& meta, ByteView audio) {
  const std::string json = JSONCoding::encode(meta);
  std::string body;
  body.reserve(kLengthPrefix + json.size() + audio.size());
  for (int shift = 24; shift >= 0; shift -= 8) body.push_back(static_cast<char>(json.size() >> shift));
  return body.append(json).append(textOf(audio));
}

TranscribeBody::Parsed TranscribeBody::parse(ByteView body) {
  if (body.size() < kLengthPrefix) throw JSONCoding::DecodingError("the body is too short");
  std::size_t length = 0;
  for (const std::uint8_t byte : body.first(kLengthPrefix)) length = length << 8 | byte;
  const ByteView rest = body.subspan(kLengthPrefix);
  if (length > rest.size()) throw JSONCoding::DecodingError("the metadata are cut off");
  return {JSONCoding::decode<TranscribeMeta>(textOf(rest.first(length))), rest.subspan(length)};
}

}  // namespace quillet
