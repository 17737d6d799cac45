// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "QuilletKit/Base/Crypto.h"
#include "QuilletKit/Base/RawValue.h"

namespace quillet {

class SecretStore;

enum class DevicePlatform { ios, macos, windows };
constexpr auto rawNames(std::type_identity<DevicePlatform>) {
  return rawTable<3>({"ios", "macos", "windows"});
}

/// What a device knows about another device.
struct PeerIdentity {
  std::string deviceId;            ///< 32 lowercase hexadecimal characters.
  std::string signingPublicKey;    ///< Unpadded base64url of 32 raw Ed25519 bytes.
  std::string agreementPublicKey;  ///< Unpadded base64url of 32 raw X25519 bytes.
  std::string name;
  DevicePlatform platform = DevicePlatform::ios;

  /// Both keys are valid and the signing key's fingerprint is `deviceId`.
  bool isConsistent() const;
  /// Throw EnvelopeError::badKey for undecodable text, Crypto::KeyError for a wrong length.
  Crypto::Key signingKey() const;
  Crypto::Key agreementKey() const;

  bool operator==(const PeerIdentity&) const = default;
};

/// This device's long-term keys. Private material; never serialised as a whole.
struct DeviceIdentity {
  Crypto::PrivateKey signingKey;    ///< Ed25519 private key (seed).
  Crypto::PrivateKey agreementKey;  ///< X25519 private key.

  static DeviceIdentity generate();
  /// Reads "device.signing.v1" and "device.agreement.v1", or makes and stores both when either is absent.
  /// Throws SecretStoreError or Crypto::KeyError; a corrupt key is never replaced.
  static DeviceIdentity loadOrCreate(SecretStore& store);
  /// Removes both, the signing key first; an error on the first stops.
  static void remove(SecretStore& store);

  /// The first 32 lowercase hexadecimal characters of the SHA-256 of raw bytes.
  static std::string fingerprint(ByteView rawPublicKey);

  std::string deviceId() const;
  Crypto::Key signingPublicKey() const;
  Crypto::Key agreementPublicKey() const;
  PeerIdentity peerIdentity(std::string name, DevicePlatform platform) const;
};

}  // namespace quillet
