// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/Envelope.h"

#include <array>

#include "QuilletKit/Base/Base64URL.h"

namespace quillet {
namespace {

constexpr std::int64_t kVersion = 1;
constexpr std::size_t kSaltSize = 32;

Crypto::Key boxKey(const DeviceIdentity& own, const PeerIdentity& other, ByteView salt, ByteView additionalData) {
  Crypto::Key secret = Crypto::sharedSecret(own.agreementKey, other.agreementKey());
  const Crypto::Wiper shared(secret);
  Bytes derived = Crypto::hkdf(secret, salt, additionalData, Crypto::kKeySize);
  const Crypto::Wiper wiper(derived);
  return Crypto::keyFrom(derived);
}

Bytes decoded(std::string_view text) {
  auto bytes = Base64URL::decode(text);
  if (!bytes) throw EnvelopeError(EnvelopeError::Code::badEncoding);
  return *std::move(bytes);
}

}  // namespace

std::string Envelope::additionalData(EnvelopePurpose purpose, std::string_view from, std::string_view to) {
  std::string text = "qlt-env-1|";
  text.append(rawValue(purpose)).append("|").append(from).append("|").append(to);
  return text;
}

Envelope Envelope::sealBytes(std::string_view plaintext, EnvelopePurpose purpose, const DeviceIdentity& sender,
                             const PeerIdentity& recipient) {
  std::array<std::uint8_t, kSaltSize> salt;
  Crypto::fillRandom(salt);
  Crypto::Nonce nonce;
  Crypto::fillRandom(nonce);
  return sealBytes(plaintext, purpose, sender, recipient, salt, nonce);
}

Envelope Envelope::sealBytes(std::string_view plaintext, EnvelopePurpose purpose, const DeviceIdentity& sender,
                             const PeerIdentity& recipient, ByteView salt, const Crypto::Nonce& nonce) {
  std::string from = sender.deviceId();
  const std::string bound = additionalData(purpose, from, recipient.deviceId);
  Crypto::Key key = boxKey(sender, recipient, salt, bytesOf(bound));
  const Crypto::Wiper wiper(key);
  const Bytes box = Crypto::seal(key, nonce, bytesOf(plaintext), bytesOf(bound));
  return {kVersion, purpose, std::move(from), recipient.deviceId, Base64URL::encode(salt), Base64URL::encode(box)};
}

Bytes Envelope::openBytes(EnvelopePurpose expected, const DeviceIdentity& recipient, const PeerIdentity& sender) const {
  using Code = EnvelopeError::Code;
  if (v != kVersion) throw EnvelopeError(Code::unsupportedVersion);
  if (purpose != expected) throw EnvelopeError(Code::wrongPurpose);
  if (to != recipient.deviceId()) throw EnvelopeError(Code::wrongRecipient);
  if (from != sender.deviceId) throw EnvelopeError(Code::wrongSender);
  const Bytes saltBytes = decoded(salt);
  const Bytes boxBytes = decoded(box);
  const std::string bound = additionalData(expected, from, to);
  Crypto::Key key = boxKey(recipient, sender, saltBytes, bytesOf(bound));
  const Crypto::Wiper wiper(key);
  return Crypto::open(key, boxBytes, bytesOf(bound));
}

}  // namespace quillet
