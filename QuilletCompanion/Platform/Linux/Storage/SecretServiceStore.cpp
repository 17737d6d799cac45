// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Storage/SecretServiceStore.h"

#include <libsecret/secret.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>

#include "QuilletCompanion/Platform/Linux/Session/GObjectRef.h"
#include "QuilletKit/Base/Base64URL.h"

namespace quillet {
namespace {

constexpr auto timeout = std::chrono::seconds(5);

/// Made at run time: the type's reserved fields are no business of ours.
const SecretSchema* schema() {
  static const SecretSchema* const made =
      secret_schema_new("com.fernhollow.quillet.Secret", SECRET_SCHEMA_NONE, "service", SECRET_SCHEMA_ATTRIBUTE_STRING,
                        "key", SECRET_SCHEMA_ATTRIBUTE_STRING, nullptr);
  return made;
}

/// Ends one blocking call when it takes too long: a prompt that nobody answers never returns by itself.
class Bounded {
 public:
  Bounded() : cancellable_(g_cancellable_new()), watch_([this] { run(); }) {}
  ~Bounded() {
    {
      const std::lock_guard lock(mutex_);
      done_ = true;
    }
    finished_.notify_one();
    watch_.join();
  }
  Bounded(const Bounded&) = delete;
  Bounded& operator=(const Bounded&) = delete;
  GCancellable* get() const { return cancellable_.get(); }

 private:
  void run() {
    std::unique_lock lock(mutex_);
    if (!finished_.wait_for(lock, timeout, [this] { return done_; })) g_cancellable_cancel(cancellable_.get());
  }

  GRef<GCancellable> cancellable_;
  std::mutex mutex_;
  std::condition_variable finished_;
  bool done_ = false;
  std::thread watch_;
};

void check(GError* error) {
  if (error == nullptr) return;
  const std::int32_t status = error->code;
  g_error_free(error);
  throw SecretStoreError(status);
}

/// Whether there is an item, be it locked. A call that stopped at a lock that nobody opened reports nothing by itself.
bool exists(const std::string& service, const std::string& key, const Bounded& bound) {
  GError* error = nullptr;
  GList* const found = secret_password_search_sync(schema(), SECRET_SEARCH_NONE, bound.get(), &error, "service",
                                                   service.c_str(), "key", key.c_str(), nullptr);
  check(error);
  g_list_free_full(found, g_object_unref);
  return found != nullptr;
}

[[noreturn]] void failLocked() {
  throw SecretStoreError(SECRET_ERROR_IS_LOCKED);
}

}  // namespace

bool SecretServiceStore::available() {
  const Bounded bound;
  const GRef<SecretService> service(secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, bound.get(), GErrorSlot()));
  if (!service) return false;
  const GRef<SecretCollection> collection(secret_collection_for_alias_sync(
      service.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, bound.get(), GErrorSlot()));
  return collection && secret_collection_get_locked(collection.get()) == FALSE;
}

std::optional<Bytes> SecretServiceStore::load(const std::string& key) {
  const Bounded bound;
  GError* error = nullptr;
  const std::unique_ptr<char, decltype(&secret_password_free)> text(
      secret_password_lookup_sync(schema(), bound.get(), &error, "service", service_.c_str(), "key", key.c_str(),
                                  nullptr),
      &secret_password_free);
  check(error);
  if (text) {
    auto value = Base64URL::decode(text.get());
    if (!value) throw SecretStoreError(SECRET_ERROR_PROTOCOL);
    return value;
  }
  if (exists(service_, key, bound)) failLocked();
  return std::nullopt;
}

void SecretServiceStore::save(ByteView value, const std::string& key) {
  const Bounded bound;
  GError* error = nullptr;
  auto text = Base64URL::encode(value);
  const bool stored =
      secret_password_store_sync(schema(), SECRET_COLLECTION_DEFAULT, "Quillet", text.c_str(), bound.get(), &error,
                                 "service", service_.c_str(), "key", key.c_str(), nullptr) == TRUE;
  explicit_bzero(text.data(), text.size());
  check(error);
  if (!stored) failLocked();
}

void SecretServiceStore::remove(const std::string& key) {
  const Bounded bound;
  GError* error = nullptr;
  const bool removed = secret_password_clear_sync(schema(), bound.get(), &error, "service", service_.c_str(), "key",
                                                  key.c_str(), nullptr) == TRUE;
  check(error);
  if (!removed && exists(service_, key, bound)) failLocked();
}

}  // namespace quillet
