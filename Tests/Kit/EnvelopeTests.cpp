// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/Envelope.h"

#include <gtest/gtest.h>

#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Identity/SecretStore.h"

namespace quillet {
namespace {

Bytes bytesIn(ByteView view) {
  return {view.begin(), view.end()};
}

TEST(Envelope, TwoSealsShareNeitherSaltNorBox) {
  const DeviceIdentity phone = DeviceIdentity::generate(), desktop = DeviceIdentity::generate();
  const PeerIdentity to = desktop.peerIdentity("Desktop", DevicePlatform::macos);
  const Envelope first = Envelope::sealBytes("text", EnvelopePurpose::delivery, phone, to);
  const Envelope second = Envelope::sealBytes("text", EnvelopePurpose::delivery, phone, to);
  EXPECT_EQ(Base64URL::decode(first.salt)->size(), 32u);
  EXPECT_NE(first.salt, second.salt);
  EXPECT_NE(first.box.substr(0, 16), second.box.substr(0, 16));
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
    EXPECT_EQ(store.load(kSigningItem), bytesIn(made.signingKey));
    EXPECT_EQ(store.load(kAgreementItem), bytesIn(made.agreementKey));
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
  for (int failAt = 1; failAt <= 3; ++failAt) {  // one read finds nothing; two writes follow
    FailingSecretStore store;
    store.failAt = failAt;
    EXPECT_THROW(DeviceIdentity::loadOrCreate(store), SecretStoreError) << failAt;
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
