// SPDX-License-Identifier: MIT
#include "QuilletKit/Identity/DeviceIdentity.h"

#include <optional>
#include <utility>

#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Identity/EnvelopeError.h"
#include "QuilletKit/Identity/SecretStore.h"

namespace quillet {
namespace {

const std::string kSigningItem = "device.signing.v1";
const std::string kAgreementItem = "device.agreement.v1";
constexpr std::size_t kFingerprintBytes = 16;

std::optional<Crypto::PrivateKey> loadKey(SecretStore& store, const std::string& item) {
  auto bytes = store.load(item);
  if (!bytes) return std::nullopt;
  const Crypto::Wiper stored(*bytes);
  Crypto::Key key = Crypto::keyFrom(*bytes);
  const Crypto::Wiper wiper(key);
  return key;
}

Crypto::Key decodedKey(std::string_view text) {
  const auto raw = Base64URL::decode(text);
  if (!raw) throw EnvelopeError(EnvelopeError::Code::badKey);
  return Crypto::keyFrom(*raw);
}

}  // namespace

Crypto::Key PeerIdentity::signingKey() const {
  return decodedKey(signingPublicKey);
}

Crypto::Key PeerIdentity::agreementKey() const {
  return decodedKey(agreementPublicKey);
}

bool PeerIdentity::isConsistent() const {
  const auto signing = Base64URL::decode(signingPublicKey);
  const auto agreement = Base64URL::decode(agreementPublicKey);
  return signing && agreement && signing->size() == Crypto::kKeySize && agreement->size() == Crypto::kKeySize &&
         DeviceIdentity::fingerprint(*signing) == deviceId;
}

DeviceIdentity DeviceIdentity::generate() {
  return {Crypto::generatePrivateKey(), Crypto::generatePrivateKey()};
}

DeviceIdentity DeviceIdentity::loadOrCreate(SecretStore& store) {
  auto signing = loadKey(store, kSigningItem);
  auto agreement = signing ? loadKey(store, kAgreementItem) : std::nullopt;
  if (agreement) return {*std::move(signing), *std::move(agreement)};
  const DeviceIdentity created = generate();
  store.save(created.signingKey, kSigningItem);
  store.save(created.agreementKey, kAgreementItem);
  return created;
}

void DeviceIdentity::remove(SecretStore& store) {
  store.remove(kSigningItem);
  store.remove(kAgreementItem);
}

std::string DeviceIdentity::fingerprint(ByteView rawPublicKey) {
  return Crypto::hexLower(ByteView(Crypto::sha256(rawPublicKey)).first(kFingerprintBytes));
}

std::string DeviceIdentity::deviceId() const {
  return fingerprint(signingPublicKey());
}

Crypto::Key DeviceIdentity::signingPublicKey() const {
  return Crypto::ed25519PublicKey(signingKey);
}

Crypto::Key DeviceIdentity::agreementPublicKey() const {
  return Crypto::x25519PublicKey(agreementKey);
}

PeerIdentity DeviceIdentity::peerIdentity(std::string name, DevicePlatform platform) const {
  const Crypto::Key signing = signingPublicKey();
  return {fingerprint(signing), Base64URL::encode(signing), Base64URL::encode(agreementPublicKey()), std::move(name),
          platform};
}

}  // namespace quillet
