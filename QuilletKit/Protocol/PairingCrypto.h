// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "QuilletKit/Base/Crypto.h"
#include "QuilletKit/Identity/DeviceIdentity.h"

namespace quillet {

/// What the QR code holds: "quillet://pair?s=…&k=…".
struct PairingInvitation {
  std::string sessionId;
  Crypto::Key macEphemeralPublicKey{};

  std::string text() const;
  static std::optional<PairingInvitation> parse(std::string_view text);
  bool operator==(const PairingInvitation&) const = default;
};

/// The code for typing, as the service issues it.
namespace PairingCode {
std::string normalise(std::string_view typed);
std::string display(std::string_view code);
}  // namespace PairingCode

/// All 256 words, indexed by one byte. Part of the protocol.
const std::array<std::string_view, 256>& pairingWords();

/// One pairing attempt: both ephemeral public keys, both device ids, and the secret that they give.
class PairingCrypto {
 public:
  /// Throws EnvelopeError::badKey when the private key belongs to neither side, or Crypto::KeyError.
  PairingCrypto(std::string sessionId, Crypto::Key macEphemeralPublicKey, Crypto::Key phoneEphemeralPublicKey,
                std::string macDeviceId, std::string phoneDeviceId, const Crypto::Key& ownEphemeralPrivateKey);

  std::array<std::string, 4> verificationWords() const;
  std::string verificationPhrase() const;
  Crypto::Digest transcriptHash() const;

  std::string sealIdentity(const PeerIdentity& own) const;
  /// With a given nonce, for known-answer tests and nothing else.
  std::string sealIdentity(const PeerIdentity& own, const Crypto::Nonce& nonce) const;
  /// Throws EnvelopeError (badEncoding, wrongSender), a Crypto error or JSONCoding::DecodingError.
  PeerIdentity openIdentity(std::string_view sealed, std::string_view expectedDeviceId) const;

 private:
  Crypto::Key exchangeKey() const;

  std::string sessionId_;
  Crypto::Key macEphemeralPublicKey_, phoneEphemeralPublicKey_;
  std::string macDeviceId_, phoneDeviceId_;
  Crypto::Key sharedSecret_{};
};

}  // namespace quillet
