// SPDX-License-Identifier: MIT
#include "QuilletService/Validation.h"

#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Base/Unicode.h"
#include "QuilletKit/Protocol/Identifier.h"
#include "QuilletService/ServiceError.h"

namespace quillet::Validation {
namespace {

constexpr std::size_t kLongestName = 256;
constexpr std::size_t kLongestNameInBytes = 4096;

}  // namespace

Crypto::Key publicKey(std::string_view text, std::string_view what) {
  const auto raw = Base64URL::decode(text);
  if (!raw || raw->size() != Crypto::kKeySize) throw Refusal::badRequest(std::string(what) + " isn't a public key.");
  return Crypto::keyFrom(*raw);
}

void requireName(std::string_view name) {
  requireNameSize(name);
  if (name.empty()) throw Refusal::badRequest("The name must not be empty.");
}

void requireNameSize(std::string_view name) {
  const bool fits =
      name.size() <= kLongestNameInBytes && Unicode::cutToClusters(name, kLongestName).size() == name.size();
  if (!fits) throw Refusal::badRequest("The name must have at most 256 characters.");
}

void requireId(std::string_view id, std::string_view what) {
  if (!Identifier::canStandInPath(id)) throw Refusal::badRequest(std::string(what) + " can't be used as an id.");
}

bool fitsRoute(const Envelope& envelope, EnvelopePurpose purpose, std::string_view from, std::string_view to) {
  return envelope.purpose == purpose && envelope.from == from && envelope.to == to;
}

void requireRoute(const Envelope& envelope, EnvelopePurpose purpose, std::string_view from, std::string_view to) {
  if (!fitsRoute(envelope, purpose, from, to))
    throw Refusal::badRequest("The envelope doesn't belong to this request.");
}

}  // namespace quillet::Validation
