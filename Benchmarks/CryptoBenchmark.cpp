// SPDX-License-Identifier: MIT
#include <string>

#include "Benchmarks/Table.h"
#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Protocol/Envelope.h"
#include "QuilletKit/Protocol/WireModels.h"

/// Sealing and opening a dictated text of 1 KB, each beside its primitives alone: agreement, derivation, box,
/// base64url, JSON.
namespace quillet::bench {
namespace {

constexpr EnvelopePurpose kPurpose = EnvelopePurpose::delivery;

struct Fixture {
  DeviceIdentity sender = DeviceIdentity::generate(), recipient = DeviceIdentity::generate();
  PeerIdentity senderPeer = sender.peerIdentity("Phone", DevicePlatform::ios);
  PeerIdentity recipientPeer = recipient.peerIdentity("Desktop", DevicePlatform::macos);
  Crypto::Key senderKey = sender.agreementPublicKey(), recipientKey = recipient.agreementPublicKey();
  DeliveryPayload payload{"0f8fad5b-d9cb-469f-a165-70867728950e", "token", std::string(1024, 't'),
                          RecognitionMode::cloud, 1760000000000};
  Envelope envelope = Envelope::seal(payload, kPurpose, sender, recipientPeer);
  std::string bound = Envelope::additionalData(kPurpose, envelope.from, envelope.to);

  void sealByHand() const {
    const std::string plaintext = JSONCoding::encode(payload);
    const Bytes salt = Crypto::randomBytes(Crypto::kKeySize);
    const Crypto::Key secret = Crypto::sharedSecret(sender.agreementKey, recipientKey);
    const Crypto::Key key = Crypto::keyFrom(Crypto::hkdf(secret, salt, bytesOf(bound), Crypto::kKeySize));
    const Bytes box = Crypto::seal(key, Crypto::Nonce{}, bytesOf(plaintext), bytesOf(bound));
    keep(Base64URL::encode(box));
    keep(Base64URL::encode(salt));
  }

  void openByHand() const {
    const Bytes salt = *Base64URL::decode(envelope.salt);
    const Bytes box = *Base64URL::decode(envelope.box);
    const Crypto::Key secret = Crypto::sharedSecret(recipient.agreementKey, senderKey);
    const Crypto::Key key = Crypto::keyFrom(Crypto::hkdf(secret, salt, bytesOf(bound), Crypto::kKeySize));
    const Bytes plaintext = Crypto::open(key, box, bytesOf(bound));
    keep(JSONCoding::decode<DeliveryPayload>(textOf(plaintext)));
  }
};

void envelope(Table& table) {
  table.section("Sealed envelope of 1 KB");
  const Fixture fixture;
  const Comparison sealing =
      compare([&] { keep(Envelope::seal(fixture.payload, kPurpose, fixture.sender, fixture.recipientPeer)); },
              [&] { fixture.sealByHand(); });
  const Comparison opening =
      compare([&] { keep(fixture.envelope.open<DeliveryPayload>(kPurpose, fixture.recipient, fixture.senderPeer)); },
              [&] { fixture.openByHand(); });
  table.add({"payload object to Envelope",
             {sealing.ours / 1000, "us"},
             "its primitives",
             Figure{sealing.floor / 1000, "us"},
             1.15});
  table.add({"Envelope to payload object",
             {opening.ours / 1000, "us"},
             "its primitives",
             Figure{opening.floor / 1000, "us"},
             1.15});
}
const Section kSection("envelope", envelope);

}  // namespace
}  // namespace quillet::bench
