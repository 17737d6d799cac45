// SPDX-License-Identifier: MIT
#include "QuilletKit/Envelope.h"

#include <gtest/gtest.h>

#include <functional>

#include "QuilletKit/Base64URL.h"
#include "QuilletKit/SecretStore.h"
#include "QuilletKit/WireModels.h"

namespace quillet {
namespace {

using Code = EnvelopeError::Code;

const DeviceIdentity& phone() {
  static const DeviceIdentity identity = DeviceIdentity::generate();
  return identity;
}
const DeviceIdentity& desktop() {
  static const DeviceIdentity identity = DeviceIdentity::generate();
  return identity;
}
PeerIdentity phonePeer() {
  return phone().peerIdentity("Phone", DevicePlatform::ios);
}
PeerIdentity desktopPeer() {
  return desktop().peerIdentity("Desktop", DevicePlatform::macos);
}

const DeliveryPayload kPayload{"u-1", "token", "Grüße / \"quoted\"\n", RecognitionMode::local, 9007199254740993};

Envelope sealed() {
  return Envelope::seal(kPayload, EnvelopePurpose::delivery, phone(), desktopPeer());
}

Bytes openedBy(const Envelope& envelope, const DeviceIdentity& recipient = desktop(),
               const PeerIdentity& sender = phonePeer(), EnvelopePurpose purpose = EnvelopePurpose::delivery) {
  return envelope.openBytes(purpose, recipient, sender);
}

std::string failureOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const EnvelopeError& error) {
    return error.what();
  } catch (const Crypto::KeyError&) {
    return "key";
  } catch (const Crypto::BoxSizeError&) {
    return "size";
  } catch (const Crypto::AuthenticationError&) {
    return "authentication";
  } catch (const JSONCoding::DecodingError&) {
    return "decoding";
  }
  return "none";
}

TEST(Envelope, OpensToWhatWasSealed) {
  const Envelope envelope = sealed();
  EXPECT_EQ(envelope.from, phone().deviceId());
  EXPECT_EQ(envelope.to, desktop().deviceId());
  EXPECT_EQ(Base64URL::decode(envelope.salt)->size(), 32u);
  EXPECT_EQ(envelope.open<DeliveryPayload>(EnvelopePurpose::delivery, desktop(), phonePeer()), kPayload);
  const auto relayed = JSONCoding::decode<Envelope>(JSONCoding::encode(envelope));
  EXPECT_EQ(relayed.open<DeliveryPayload>(EnvelopePurpose::delivery, desktop(), phonePeer()), kPayload);
}

TEST(Envelope, TwoSealsShareNeitherSaltNorBox) {
  const Envelope first = sealed(), second = sealed();
  EXPECT_NE(first.salt, second.salt);
  EXPECT_NE(first.box.substr(0, 16), second.box.substr(0, 16));
}

/// Everything is wrong at first; each repair brings the next check to light.
TEST(Envelope, ChecksStandInTheirOrder) {
  const Envelope good = sealed();
  Envelope envelope{4294967297, EnvelopePurpose::prepare, "x", "y", "A", "A"};
  PeerIdentity sender = phonePeer();
  sender.agreementPublicKey = "*";
  const std::pair<std::string, std::function<void()>> steps[] = {
      {"unsupportedVersion", [&] { envelope.v = 1; }},
      {"wrongPurpose", [&] { envelope.purpose = EnvelopePurpose::delivery; }},
      {"wrongRecipient", [&] { envelope.to = good.to; }},
      {"wrongSender", [&] { envelope.from = good.from; }},
      {"badEncoding", [&] { envelope.salt = good.salt; }},
      {"badEncoding", [&] { envelope.box = Base64URL::encode(Bytes(27)); }},
      {"badKey", [&] { sender.agreementPublicKey = Base64URL::encode(Bytes(31)); }},
      {"key", [&] { sender.agreementPublicKey = Base64URL::encode(Bytes(32)); }},
      {"key", [&] { sender = phonePeer(); }},
      {"size", [&] { envelope.box = Base64URL::encode(Bytes(28)); }},
      {"authentication", [&] { envelope.box = good.box; }},
      {"none", [] {}},
  };
  for (const auto& [failure, repair] : steps) {
    EXPECT_EQ(failureOf([&] { openedBy(envelope, desktop(), sender); }), failure);
    repair();
  }
}

TEST(Envelope, WhatIsBoundCannotBeChanged) {
  const Envelope good = sealed();
  const DeviceIdentity third = DeviceIdentity::generate();

  Envelope renamed = good;
  renamed.purpose = EnvelopePurpose::result;
  EXPECT_EQ(failureOf([&] { openedBy(renamed, desktop(), phonePeer(), EnvelopePurpose::result); }), "authentication");

  Envelope reflected = good;
  std::swap(reflected.from, reflected.to);
  EXPECT_EQ(failureOf([&] { openedBy(reflected, phone(), desktopPeer()); }), "authentication");

  Envelope redirected = good;
  redirected.to = third.deviceId();
  EXPECT_EQ(failureOf([&] { openedBy(redirected, third); }), "authentication");

  Envelope claimed = good;
  claimed.from = third.deviceId();
  EXPECT_EQ(failureOf([&] { openedBy(claimed, desktop(), third.peerIdentity("", DevicePlatform::ios)); }),
            "authentication");

  Envelope salted = good;
  for (const std::string salt : {"", "AA", "AAAA"}) {
    salted.salt = salt;
    EXPECT_EQ(failureOf([&] { openedBy(salted); }), "authentication") << salt;
  }
}

TEST(Envelope, OpeningToAnotherTypeIsADecodingError) {
  EXPECT_THROW(sealed().open<ResultPayload>(EnvelopePurpose::delivery, desktop(), phonePeer()),
               JSONCoding::DecodingError);
}

TEST(Envelope, SealingNeedsAKeyOfTheRecipient) {
  PeerIdentity recipient = desktopPeer();
  for (const auto& [key, failure] : {std::pair("A", "badKey"), {"AAAA", "key"}, {"", "key"}}) {
    recipient.agreementPublicKey = key;
    EXPECT_EQ(failureOf([&] { Envelope::seal(kPayload, EnvelopePurpose::delivery, phone(), recipient); }), failure);
  }
}

TEST(PeerIdentity, ConsistencyNeedsEveryPart) {
  EXPECT_TRUE(phonePeer().isConsistent());
  const std::pair<const char*, std::function<void(PeerIdentity&)>> changes[] = {
      {"digit", [](PeerIdentity& peer) { peer.deviceId[5] = peer.deviceId[5] == '0' ? '1' : '0'; }},
      {"upper case", [](PeerIdentity& peer) { peer.deviceId = "ABCDEF" + peer.deviceId.substr(6); }},
      {"short id", [](PeerIdentity& peer) { peer.deviceId.pop_back(); }},
      {"signing key's text", [](PeerIdentity& peer) { peer.signingPublicKey = "*"; }},
      {"agreement key's text", [](PeerIdentity& peer) { peer.agreementPublicKey = "A"; }},
      {"agreement key's length", [](PeerIdentity& peer) { peer.agreementPublicKey = "AAAA"; }},
      {"signing key's length",
       [](PeerIdentity& peer) {
         peer.signingPublicKey = "AAAA";
         peer.deviceId = DeviceIdentity::fingerprint(Bytes(3));
       }},
      {"another's id", [](PeerIdentity& peer) { peer.deviceId = desktop().deviceId(); }},
  };
  for (const auto& [name, change] : changes) {
    PeerIdentity peer = phonePeer();
    change(peer);
    EXPECT_FALSE(peer.isConsistent()) << name;
  }
}

/// Counts and refuses operations.
class FailingSecretStore : public SecretStore {
 public:
  std::optional<Bytes> load(const std::string& key) override { return step(), items.load(key); }
  void save(ByteView value, const std::string& key) override { step(), items.save(value, key); }
  void remove(const std::string& key) override { step(), items.remove(key); }

  MemorySecretStore items;
  int failAt = 0, count = 0;

 private:
  void step() {
    if (++count == failAt) throw SecretStoreError(5);
  }
};

const std::string kSigningItem = "device.signing.v1", kAgreementItem = "device.agreement.v1";

TEST(DeviceIdentity, IsMadeOnceAndThenFound) {
  MemorySecretStore store;
  const DeviceIdentity made = DeviceIdentity::loadOrCreate(store);
  const DeviceIdentity found = DeviceIdentity::loadOrCreate(store);
  EXPECT_EQ(found.signingKey, made.signingKey);
  EXPECT_EQ(found.agreementKey, made.agreementKey);
  EXPECT_TRUE(found.peerIdentity("", DevicePlatform::macos).isConsistent());
}

TEST(DeviceIdentity, ALoneKeyIsNotReused) {
  for (const auto& lone : {kSigningItem, kAgreementItem}) {
    MemorySecretStore store;
    store.save(Bytes(32, 1), lone);
    const DeviceIdentity made = DeviceIdentity::loadOrCreate(store);
    EXPECT_EQ(store.load(kSigningItem), Bytes(made.signingKey.begin(), made.signingKey.end()));
    EXPECT_EQ(store.load(kAgreementItem), Bytes(made.agreementKey.begin(), made.agreementKey.end()));
    EXPECT_NE(store.load(lone), Bytes(32, 1));
  }
}

TEST(DeviceIdentity, ACorruptKeyIsNeverReplaced) {
  MemorySecretStore store;
  store.save(Bytes(31, 1), kSigningItem);
  store.save(Bytes(32, 2), kAgreementItem);
  EXPECT_THROW(DeviceIdentity::loadOrCreate(store), Crypto::KeyError);
  EXPECT_EQ(store.load(kSigningItem), Bytes(31, 1));
  EXPECT_EQ(store.load(kAgreementItem), Bytes(32, 2));
}

TEST(DeviceIdentity, AnyFailureOfTheStoreIsReported) {
  for (int failAt = 1; failAt <= 4; ++failAt) {
    FailingSecretStore store;
    store.failAt = failAt;
    const bool fails = failAt <= 3;  // One read finds nothing; two writes follow.
    EXPECT_EQ(failureOf([&] {
                try {
                  DeviceIdentity::loadOrCreate(store);
                } catch (const SecretStoreError&) {
                  throw Crypto::KeyError("");
                }
              }),
              fails ? "key" : "none")
        << failAt;
  }
}

TEST(DeviceIdentity, RemovalStartsWithTheSigningKeyAndStopsAtAnError) {
  FailingSecretStore store;
  DeviceIdentity::loadOrCreate(store);
  store.failAt = store.count + 1;
  EXPECT_THROW(DeviceIdentity::remove(store), SecretStoreError);
  EXPECT_TRUE(store.items.load(kAgreementItem));
  store.failAt = store.count + 2;
  EXPECT_THROW(DeviceIdentity::remove(store), SecretStoreError);
  EXPECT_FALSE(store.items.load(kSigningItem));
  EXPECT_TRUE(store.items.load(kAgreementItem));
  DeviceIdentity::remove(store);
  EXPECT_FALSE(store.items.load(kAgreementItem));
}

}  // namespace
}  // namespace quillet
