// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/Crypto.h"

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/kdf.h>
#include <openssl/params.h>
#include <sodium.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <new>

namespace quillet::Crypto {
namespace {

template <auto Free>
struct Freer {
  template <typename T>
  void operator()(T* object) const {
    Free(object);
  }
};
using DigestContext = std::unique_ptr<EVP_MD_CTX, Freer<EVP_MD_CTX_free>>;
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, Freer<EVP_CIPHER_CTX_free>>;
using KdfContext = std::unique_ptr<EVP_KDF_CTX, Freer<EVP_KDF_CTX_free>>;

void require(bool succeeded, const char* operation) {
  if (!succeeded) throw std::runtime_error(std::string("cryptographic library: ") + operation);
}

/// Looking an algorithm up costs more than using it, so it is done once. Never freed.
template <typename T>
T* required(T* algorithm, const char* operation) {
  require(algorithm != nullptr, operation);
  return algorithm;
}

EVP_MD* sha256Algorithm() {
  static EVP_MD* const algorithm = required(EVP_MD_fetch(nullptr, "SHA256", nullptr), "no SHA-256");
  return algorithm;
}

EVP_CIPHER* cipherAlgorithm() {
  static EVP_CIPHER* const algorithm =
      required(EVP_CIPHER_fetch(nullptr, "ChaCha20-Poly1305", nullptr), "no ChaCha20-Poly1305");
  return algorithm;
}

EVP_KDF* hkdfAlgorithm() {
  static EVP_KDF* const algorithm = required(EVP_KDF_fetch(nullptr, "HKDF", nullptr), "no HKDF");
  return algorithm;
}

EVP_CIPHER_CTX* cipherContext() {
  thread_local const CipherContext context(required(EVP_CIPHER_CTX_new(), "cipher context"));
  return context.get();
}

void prepareSodium() {
  static const int state = sodium_init();
  require(state >= 0, "initialisation");
}

/// Signing takes the public key too, and deriving it costs as much as a signature. A process has one identity, so each
/// thread remembers the pair that it used last.
struct SigningPair {
  std::array<std::uint8_t, crypto_sign_SECRETKEYBYTES> secret{};  ///< The seed, then the public key.
  Key publicKey{};
  bool filled = false;
};

/// In guarded memory, zero to begin with.
template <typename T>
std::unique_ptr<T, Freer<sodium_free>> guarded() {
  prepareSodium();
  void* const memory = sodium_malloc(sizeof(T));
  if (memory == nullptr) throw std::bad_alloc();
  return std::unique_ptr<T, Freer<sodium_free>>(new (memory) T{});
}

const SigningPair& signingPair(const Key& seed) {
  thread_local const auto held = guarded<SigningPair>();
  SigningPair& pair = *held;
  if (!pair.filled || sodium_memcmp(pair.secret.data(), seed.data(), seed.size()) != 0) {
    prepareSodium();
    require(crypto_sign_seed_keypair(pair.publicKey.data(), pair.secret.data(), seed.data()) == 0, "signing key");
    pair.filled = true;
  }
  return pair;
}

int lengthOf(ByteView data) {
  if (data.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) throw std::bad_alloc();
  return static_cast<int>(data.size());
}

/// OpenSSL takes mutable pointers that it only reads, and refuses null even for nothing.
OSSL_PARAM octets(const char* name, ByteView data) {
  static std::uint8_t nothing = 0;
  void* start = data.empty() ? &nothing : const_cast<std::uint8_t*>(data.data());
  return OSSL_PARAM_construct_octet_string(name, start, data.size());
}

}  // namespace

Key keyFrom(ByteView raw) {
  if (raw.size() != kKeySize) throw KeyError("a key needs 32 bytes");
  Key key;
  std::copy(raw.begin(), raw.end(), key.begin());
  return key;
}

void fillRandom(std::span<std::uint8_t> out) {
  prepareSodium();
  randombytes_buf(out.data(), out.size());
}

Bytes randomBytes(std::size_t count) {
  Bytes bytes(count);
  fillRandom(bytes);
  return bytes;
}

Digest sha256(ByteView data) {
  thread_local const DigestContext context(required(EVP_MD_CTX_new(), "digest context"));
  Digest digest;
  require(EVP_DigestInit_ex2(context.get(), sha256Algorithm(), nullptr) == 1 &&
              EVP_DigestUpdate(context.get(), data.data(), data.size()) == 1 &&
              EVP_DigestFinal_ex(context.get(), digest.data(), nullptr) == 1,
          "SHA-256");
  return digest;
}

struct Hasher::State {
  DigestContext context{required(EVP_MD_CTX_new(), "digest context")};
};

Hasher::Hasher() : state_(std::make_unique<State>()) {
  require(EVP_DigestInit_ex2(state_->context.get(), sha256Algorithm(), nullptr) == 1, "SHA-256");
}
Hasher::~Hasher() = default;
Hasher::Hasher(Hasher&&) noexcept = default;
Hasher& Hasher::operator=(Hasher&&) noexcept = default;

void Hasher::add(ByteView piece) {
  require(EVP_DigestUpdate(state_->context.get(), piece.data(), piece.size()) == 1, "SHA-256");
}

Digest Hasher::finish() {
  Digest digest;
  require(EVP_DigestFinal_ex(state_->context.get(), digest.data(), nullptr) == 1, "SHA-256");
  return digest;
}

std::string hexLower(ByteView data) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  text.reserve(data.size() * 2);
  for (const std::uint8_t byte : data) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

void wipe(std::span<std::uint8_t> bytes) {
  sodium_memzero(bytes.data(), bytes.size());
}

void wipe(std::string& text) {
  sodium_memzero(text.data(), text.size());
}

PrivateKey::PrivateKey(const Key& key) {
  auto held = guarded<Key>();
  *held = key;
  sodium_mprotect_readonly(held.get());
  key_ = std::move(held);
}

bool PrivateKey::operator==(const PrivateKey& other) const {
  return sodium_memcmp(key_->data(), other.key_->data(), kKeySize) == 0;
}

PrivateKey generatePrivateKey() {
  Key key;
  const Wiper wiper(key);
  fillRandom(key);
  return key;
}

Key ed25519PublicKey(const Key& privateKey) {
  return signingPair(privateKey).publicKey;
}

Key x25519PublicKey(const Key& privateKey) {
  prepareSodium();
  Key publicKey;
  require(crypto_scalarmult_curve25519_base(publicKey.data(), privateKey.data()) == 0, "agreement key");
  return publicKey;
}

Signature sign(const Key& privateKey, ByteView message) {
  Signature signature;
  require(crypto_sign_detached(signature.data(), nullptr, message.data(), message.size(),
                               signingPair(privateKey).secret.data()) == 0,
          "signing");
  return signature;
}

bool verify(const Key& publicKey, ByteView message, ByteView signature) {
  if (signature.size() != kSignatureSize) return false;
  prepareSodium();
  return crypto_sign_verify_detached(signature.data(), message.data(), message.size(), publicKey.data()) == 0;
}

Key sharedSecret(const Key& privateKey, const Key& publicKey) {
  prepareSodium();
  Key secret;
  if (crypto_scalarmult_curve25519(secret.data(), privateKey.data(), publicKey.data()) != 0) {
    throw KeyError("the shared secret is zero");
  }
  return secret;
}

Bytes hkdf(ByteView inputKey, ByteView salt, ByteView info, std::size_t length) {
  static char digestName[] = "SHA256";
  const std::array params{OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, digestName, 0),
                          octets(OSSL_KDF_PARAM_KEY, inputKey), octets(OSSL_KDF_PARAM_SALT, salt),
                          octets(OSSL_KDF_PARAM_INFO, info), OSSL_PARAM_construct_end()};
  const KdfContext context(required(EVP_KDF_CTX_new(hkdfAlgorithm()), "HKDF context"));
  Bytes output(length);
  require(EVP_KDF_derive(context.get(), output.data(), output.size(), params.data()) == 1, "HKDF");
  return output;
}

Bytes seal(const Key& key, const Nonce& nonce, ByteView plaintext, ByteView associatedData) {
  EVP_CIPHER_CTX* const context = cipherContext();
  Bytes box(kNonceSize + plaintext.size() + kTagSize);
  std::copy(nonce.begin(), nonce.end(), box.begin());
  std::uint8_t* const ciphertext = box.data() + kNonceSize;
  std::uint8_t* const tag = ciphertext + plaintext.size();
  int written = 0;
  require(EVP_EncryptInit_ex2(context, cipherAlgorithm(), key.data(), nonce.data(), nullptr) == 1 &&
              EVP_EncryptUpdate(context, nullptr, &written, associatedData.data(), lengthOf(associatedData)) == 1 &&
              EVP_EncryptUpdate(context, ciphertext, &written, plaintext.data(), lengthOf(plaintext)) == 1 &&
              EVP_EncryptFinal_ex(context, tag, &written) == 1 &&
              EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_AEAD_GET_TAG, kTagSize, tag) == 1,
          "sealing");
  return box;
}

Bytes open(const Key& key, ByteView box, ByteView associatedData) {
  if (box.size() < kNonceSize + kTagSize) throw BoxSizeError("a sealed box needs at least 28 bytes");
  const ByteView ciphertext = box.subspan(kNonceSize, box.size() - kNonceSize - kTagSize);
  std::array<std::uint8_t, kTagSize> tag;
  std::copy(box.end() - kTagSize, box.end(), tag.begin());
  EVP_CIPHER_CTX* const context = cipherContext();
  Bytes plaintext(ciphertext.size() + 1);  // Never a null pointer, not even for nothing.
  int written = 0;
  require(EVP_DecryptInit_ex2(context, cipherAlgorithm(), key.data(), box.data(), nullptr) == 1 &&
              EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_AEAD_SET_TAG, kTagSize, tag.data()) == 1 &&
              EVP_DecryptUpdate(context, nullptr, &written, associatedData.data(), lengthOf(associatedData)) == 1 &&
              EVP_DecryptUpdate(context, plaintext.data(), &written, ciphertext.data(), lengthOf(ciphertext)) == 1,
          "opening");
  if (EVP_DecryptFinal_ex(context, plaintext.data() + ciphertext.size(), &written) != 1) {
    throw AuthenticationError("the sealed box isn't authentic");
  }
  plaintext.pop_back();
  return plaintext;
}

}  // namespace quillet::Crypto
