// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "QuilletKit/Identity/DeviceIdentity.h"
#include "Tests/Doubles/Files.h"
#include "Tests/Doubles/SecretStoreContract.h"

namespace quillet::test {
namespace {

Bytes bytesIn(ByteView view) {
  return {view.begin(), view.end()};
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

namespace fs = std::filesystem;

struct FileBackend {
  TemporaryFolder folder;
  std::unique_ptr<SecretStore> open(const std::string& service) {
    return std::make_unique<FileSecretStore>(folder.path(), service);
  }
};

INSTANTIATE_TYPED_TEST_SUITE_P(File, SecretStoreContract, FileBackend);

TEST(FileSecretStore, FailuresCarryErrno) {
  const TemporaryFolder folder;
  std::ofstream(folder.path() / "file") << "x";
  FileSecretStore under(folder.path() / "file", "service");
  FileSecretStore store(folder.path(), "service");
  fs::create_directories(folder.path() / "service" / "folder");
  const std::pair<int, std::function<void()>> cases[] = {
      {ENOTDIR, [&] { under.load("item"); }},
      {EISDIR, [&] { store.load("folder"); }},
      {EISDIR, [&] { store.save(Bytes{1}, "folder"); }},
      {EISDIR, [&] { store.remove("folder"); }},
      {ENAMETOOLONG, [&] { store.save(Bytes{1}, std::string(300, 'a')); }},
  };
  for (const auto& [status, operation] : cases) {
    EXPECT_THAT(operation, testing::Throws<SecretStoreError>(testing::Field(&SecretStoreError::status, status)));
  }
}

}  // namespace
}  // namespace quillet::test
