// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

#include "QuilletKit/Base/Bytes.h"

/// The one unit that calls the cryptographic libraries. All functions are thread-safe.
namespace quillet::Crypto {

inline constexpr std::size_t kKeySize = 32;
inline constexpr std::size_t kSignatureSize = 64;
inline constexpr std::size_t kNonceSize = 12;
inline constexpr std::size_t kTagSize = 16;

using Key = std::array<std::uint8_t, kKeySize>;
using Signature = std::array<std::uint8_t, kSignatureSize>;
using Nonce = std::array<std::uint8_t, kNonceSize>;
using Digest = std::array<std::uint8_t, 32>;

/// A key that can't be built (wrong length) or used (an all-zero shared secret).
struct KeyError : std::runtime_error {
  using std::runtime_error::runtime_error;
};
/// A sealed box of fewer than 28 bytes.
struct BoxSizeError : std::runtime_error {
  using std::runtime_error::runtime_error;
};
/// The authentication tag doesn't fit.
struct AuthenticationError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Overwrites what must not stay in memory.
void wipe(std::span<std::uint8_t> bytes);
void wipe(std::string& text);

/// Wipes a buffer at the end of its scope.
template <typename Buffer>
class Wiper {
 public:
  explicit Wiper(Buffer& buffer) : buffer_(buffer) {}
  ~Wiper() { wipe(buffer_); }
  Wiper(const Wiper&) = delete;
  Wiper& operator=(const Wiper&) = delete;

 private:
  Buffer& buffer_;
};

/// A private key or a shared secret in one place, however often it is copied: in memory that isn't paged out where the
/// system allows that, isn't in core dumps, lies between pages that can't be touched, and is wiped at the end. Copies
/// may be used on any thread.
class PrivateKey {
 public:
  /// All zero.
  PrivateKey() : PrivateKey(Key{}) {}
  /// The given array is the caller's to wipe.
  PrivateKey(const Key& key);  // NOLINT(google-explicit-constructor): any 32 bytes are one
  operator const Key&() const { return *key_; }
  operator ByteView() const { return *key_; }
  bool operator==(const PrivateKey& other) const;

 private:
  std::shared_ptr<const Key> key_;
};

/// Throws KeyError unless there are exactly 32 bytes.
Key keyFrom(ByteView raw);

/// Fills from the system's secure generator.
void fillRandom(std::span<std::uint8_t> out);
Bytes randomBytes(std::size_t count);

Digest sha256(ByteView data);
/// SHA-256 of what comes piece by piece.
class Hasher {
 public:
  Hasher();
  ~Hasher();
  Hasher(Hasher&&) noexcept;
  Hasher& operator=(Hasher&&) noexcept;
  void add(ByteView piece);
  /// Of all pieces. Nothing can be added afterwards.
  Digest finish();

 private:
  struct State;
  std::unique_ptr<State> state_;
};
std::string hexLower(ByteView data);

/// 32 random bytes; any 32 bytes are a valid private key of either kind (RFC 8032 seed, RFC 7748 scalar).
PrivateKey generatePrivateKey();
Key ed25519PublicKey(const Key& privateKey);
Key x25519PublicKey(const Key& privateKey);

Signature sign(const Key& privateKey, ByteView message);
bool verify(const Key& publicKey, ByteView message, ByteView signature);

/// Throws KeyError for an all-zero result.
Key sharedSecret(const Key& privateKey, const Key& publicKey);

/// HKDF with SHA-256. An empty salt is allowed.
Bytes hkdf(ByteView inputKey, ByteView salt, ByteView info, std::size_t length);

/// ChaCha20-Poly1305, combined form: nonce, ciphertext, tag.
Bytes seal(const Key& key, const Nonce& nonce, ByteView plaintext, ByteView associatedData);
/// Throws BoxSizeError or AuthenticationError.
Bytes open(const Key& key, ByteView box, ByteView associatedData);

}  // namespace quillet::Crypto
