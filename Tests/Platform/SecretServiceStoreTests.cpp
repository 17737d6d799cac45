// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Storage/SecretServiceStore.h"

#include <libsecret/secret.h>

#include "QuilletCompanion/Platform/Linux/Session/GObjectRef.h"
#include "QuilletCompanion/Platform/Linux/Storage/SystemSecretStore.h"
#include "Tests/Doubles/SecretStoreContract.h"
#include "Tests/Platform/PrivateBus.h"

/// libsecret loses some bytes for each locked item that it finds, six calls below ours.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libsecret-1.so\n";
}
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
  return "fast_unwind_on_malloc=0";
}

namespace quillet::test {
namespace {

/// One for the whole process, as the library keeps its connection.
PrivateBus& sessionBus() {
  static PrivateBus bus(G_BUS_TYPE_SESSION);
  bus.use();
  return bus;
}

/// A real Secret Service in an empty home.
class Keyring {
 public:
  /// With `login` there is an unlocked collection for secrets; without, storing one would ask the person.
  explicit Keyring(bool login = true) {
    setenv("HOME", home_.path().c_str(), 1);
    setenv("XDG_RUNTIME_DIR", home_.path().c_str(), 1);
    for (const char* variable : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"}) unsetenv(variable);
    // The password of the collection, an empty one, comes by its standard input.
    const std::string command = "exec gnome-keyring-daemon --foreground --components=secrets";
    program_ = ChildProcess::quiet({"sh", "-c", command + (login ? " --unlock" : "") + " <<END\n\nEND\n"});
    EXPECT_TRUE(bus_.awaitOwner("org.freedesktop.secrets"));
  }
  /// The library remembers the service that it talked to.
  ~Keyring() {
    program_.reset();
    secret_service_disconnect();
    EXPECT_TRUE(eventually([this] { return !bus_.hasOwner("org.freedesktop.secrets"); }));
  }
  std::unique_ptr<SecretStore> open(const std::string& service) {
    return std::make_unique<SecretServiceStore>(service);
  }
  void signal(int number) const { ::kill(program_->id(), number); }

 private:
  TemporaryFolder home_;
  PrivateBus& bus_ = sessionBus();
  std::optional<ChildProcess> program_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(SecretService, SecretStoreContract, Keyring);

TEST(SecretServiceAvailability, IsFalseWhereAPersonWouldBeAsked) {
  const Keyring keyring(false);
  EXPECT_FALSE(SecretServiceStore::available());
}

TEST(SecretServiceAvailability, IsFalseWithoutAServiceWhoseCallsThenFail) {
  ASSERT_TRUE(eventually([] { return !sessionBus().hasOwner("org.freedesktop.secrets"); }));
  EXPECT_FALSE(SecretServiceStore::available());
  SecretServiceStore store("com.example.service");
  EXPECT_THROW(store.load("item"), SecretStoreError);
  EXPECT_THROW(store.save(Bytes{1}, "item"), SecretStoreError);
  EXPECT_THROW(store.remove("item"), SecretStoreError);
}

TEST(SecretServiceLock, ALockedItemIsNoAbsentOne) {
  const Keyring keyring;
  SecretServiceStore store("com.example.service");
  store.save(Bytes{1}, "item");
  const GRef<SecretService> service(secret_service_get_sync(SECRET_SERVICE_NONE, nullptr, GErrorSlot()));
  const GRef<SecretCollection> collection(secret_collection_for_alias_sync(
      service.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, nullptr, GErrorSlot()));
  ASSERT_TRUE(collection);
  GList only{collection.get(), nullptr, nullptr};
  ASSERT_EQ(secret_service_lock_sync(service.get(), &only, nullptr, nullptr, GErrorSlot()), 1);
  EXPECT_FALSE(SecretServiceStore::available());
  EXPECT_THROW(store.load("item"), SecretStoreError);
  EXPECT_THROW(store.save(Bytes{2}, "item"), SecretStoreError);
  EXPECT_THROW(store.remove("item"), SecretStoreError);
}

TEST(SecretServiceSilence, AServiceThatHangsIsAnErrorUntilItAnswersAgain) {
  const Keyring keyring;
  SecretServiceStore store("com.example.service");
  store.save(Bytes{1}, "item");
  keyring.signal(SIGSTOP);
  EXPECT_THROW(store.load("item"), SecretStoreError);
  keyring.signal(SIGCONT);
  EXPECT_EQ(store.load("item"), Bytes{1});
}

TEST(SecretServiceDamage, AnItemThatIsNoneOfOursIsNoAbsentOne) {
  const Keyring keyring;
  SecretServiceStore store("com.example.service");
  store.save(Bytes{1, 2, 3}, "item");
  const auto* const schema =
      secret_schema_new("com.fernhollow.quillet.Secret", SECRET_SCHEMA_NONE, "service", SECRET_SCHEMA_ATTRIBUTE_STRING,
                        "key", SECRET_SCHEMA_ATTRIBUTE_STRING, nullptr);
  ASSERT_TRUE(secret_password_store_sync(schema, SECRET_COLLECTION_DEFAULT, "Quillet", "no such text!", nullptr,
                                         GErrorSlot(), "service", "com.example.service", "key", "item", nullptr));
  EXPECT_THROW(store.load("item"), SecretStoreError);
}

TEST(SystemSecretStore, StaysWithTheKeyringThatItChose) {
  const TemporaryFolder folder;
  const Bytes key(32, 7);
  {
    const Keyring keyring;
    openSystemSecretStore(folder.path(), "com.example.service")->save(key, "device.signing.v1");
    EXPECT_EQ(openSystemSecretStore(folder.path(), "com.example.service")->load("device.signing.v1"), key);
  }
  const auto store = openSystemSecretStore(folder.path(), "com.example.service");
  EXPECT_THROW(store->load("device.signing.v1"), SecretStoreError) << "made for a new device";
}

TEST(SystemSecretStore, StaysWithTheFilesThatItChose) {
  const TemporaryFolder folder;
  const Bytes key(32, 7);
  openSystemSecretStore(folder.path(), "com.example.service")->save(key, "device.signing.v1");
  const Keyring keyring;
  EXPECT_EQ(openSystemSecretStore(folder.path(), "com.example.service")->load("device.signing.v1"), key);
}

}  // namespace
}  // namespace quillet::test
