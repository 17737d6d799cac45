// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <string>

#include "QuilletKit/Base64URL.h"
#include "QuilletKit/Envelope.h"
#include "QuilletKit/WireModels.h"

/// Sealing and opening a dictated text of 1 KB, each beside its primitives alone: agreement, derivation, box,
/// base64url, JSON. The whole may cost at most 1.15 times the primitives.
namespace quillet {
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
};

void sealEnvelope(benchmark::State& state) {
  const Fixture fixture;
  for (auto _ : state) {
    benchmark::DoNotOptimize(Envelope::seal(fixture.payload, kPurpose, fixture.sender, fixture.recipientPeer));
  }
}
BENCHMARK(sealEnvelope);

void sealPrimitives(benchmark::State& state) {
  const Fixture fixture;
  const Crypto::Nonce nonce{};
  for (auto _ : state) {
    const std::string plaintext = JSONCoding::encode(fixture.payload);
    const Bytes salt = Crypto::randomBytes(Crypto::kKeySize);
    const Crypto::Key secret = Crypto::sharedSecret(fixture.sender.agreementKey, fixture.recipientKey);
    const Crypto::Key key = Crypto::keyFrom(Crypto::hkdf(secret, salt, bytesOf(fixture.bound), Crypto::kKeySize));
    const Bytes box = Crypto::seal(key, nonce, bytesOf(plaintext), bytesOf(fixture.bound));
    benchmark::DoNotOptimize(Base64URL::encode(box));
    benchmark::DoNotOptimize(Base64URL::encode(salt));
  }
}
BENCHMARK(sealPrimitives);

void openEnvelope(benchmark::State& state) {
  const Fixture fixture;
  for (auto _ : state) {
    benchmark::DoNotOptimize(fixture.envelope.open<DeliveryPayload>(kPurpose, fixture.recipient, fixture.senderPeer));
  }
}
BENCHMARK(openEnvelope);

void openPrimitives(benchmark::State& state) {
  const Fixture fixture;
  for (auto _ : state) {
    const Bytes salt = *Base64URL::decode(fixture.envelope.salt);
    const Bytes box = *Base64URL::decode(fixture.envelope.box);
    const Crypto::Key secret = Crypto::sharedSecret(fixture.recipient.agreementKey, fixture.senderKey);
    const Crypto::Key key = Crypto::keyFrom(Crypto::hkdf(secret, salt, bytesOf(fixture.bound), Crypto::kKeySize));
    const Bytes plaintext = Crypto::open(key, box, bytesOf(fixture.bound));
    benchmark::DoNotOptimize(JSONCoding::decode<DeliveryPayload>(textOf(plaintext)));
  }
}
BENCHMARK(openPrimitives);

void agreement(benchmark::State& state) {
  const Fixture fixture;
  for (auto _ : state) {
    benchmark::DoNotOptimize(Crypto::sharedSecret(fixture.sender.agreementKey, fixture.recipientKey));
  }
}
BENCHMARK(agreement);

void derivation(benchmark::State& state) {
  const Crypto::Key secret = Crypto::generatePrivateKey();
  for (auto _ : state) benchmark::DoNotOptimize(Crypto::hkdf(secret, secret, bytesOf("info"), Crypto::kKeySize));
}
BENCHMARK(derivation);

void signing(benchmark::State& state) {
  const DeviceIdentity identity = DeviceIdentity::generate();
  for (auto _ : state) benchmark::DoNotOptimize(Crypto::sign(identity.signingKey, bytesOf("message")));
}
BENCHMARK(signing);

}  // namespace
}  // namespace quillet
