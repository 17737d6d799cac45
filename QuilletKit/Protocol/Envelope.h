// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "QuilletKit/Base/Bytes.h"
#include "QuilletKit/Base/RawValue.h"
#include "QuilletKit/Identity/DeviceIdentity.h"
#include "QuilletKit/Identity/EnvelopeError.h"
#include "QuilletKit/JSON/JSONCoding.h"

namespace quillet {

enum class EnvelopePurpose { prepare, prepareResult, delivery, result, readiness };

constexpr auto rawNames(std::type_identity<EnvelopePurpose>) {
  return rawTable<5>({"prepare", "prepareResult", "delivery", "result", "readiness"});
}

/// A payload sealed for one recipient and one purpose. Only the routing fields can be read in between.
struct Envelope {
  std::int64_t v = 1;
  EnvelopePurpose purpose = EnvelopePurpose::prepare;
  std::string from;  ///< Sender's deviceId.
  std::string to;    ///< Recipient's deviceId.
  std::string salt;  ///< Unpadded base64url of 32 random bytes.
  std::string box;   ///< Unpadded base64url of nonce, ciphertext, tag.

  /// Throws EnvelopeError::badKey, Crypto::KeyError or JSONCoding::EncodingError.
  template <typename Payload>
  static Envelope seal(const Payload& payload, EnvelopePurpose purpose, const DeviceIdentity& sender,
                       const PeerIdentity& recipient) {
    std::string text = JSONCoding::encode(payload);
    const Crypto::Wiper wiper(text);
    return sealBytes(text, purpose, sender, recipient);
  }
  /// Throws EnvelopeError, Crypto::KeyError, BoxSizeError, AuthenticationError or JSONCoding::DecodingError.
  template <typename Payload>
  Payload open(EnvelopePurpose expected, const DeviceIdentity& recipient, const PeerIdentity& sender) const {
    Bytes plaintext = openBytes(expected, recipient, sender);
    const Crypto::Wiper wiper(plaintext);
    return JSONCoding::decode<Payload>(textOf(plaintext));
  }

  static Envelope sealBytes(std::string_view plaintext, EnvelopePurpose purpose, const DeviceIdentity& sender,
                            const PeerIdentity& recipient);
  /// With a given salt and nonce, for known-answer tests and nothing else.
  static Envelope sealBytes(std::string_view plaintext, EnvelopePurpose purpose, const DeviceIdentity& sender,
                            const PeerIdentity& recipient, ByteView salt, const Crypto::Nonce& nonce);
  Bytes openBytes(EnvelopePurpose expected, const DeviceIdentity& recipient, const PeerIdentity& sender) const;

  /// Serves as HKDF info and as associated data.
  static std::string additionalData(EnvelopePurpose purpose, std::string_view from, std::string_view to);

  bool operator==(const Envelope&) const = default;
};

}  // namespace quillet
