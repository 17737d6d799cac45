// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Storage/SystemSecretStore.h"

#include <mutex>
#include <utility>

#include "QuilletCompanion/Platform/Linux/Storage/SecretServiceStore.h"
#include "QuilletKit/Base/AtomicFile.h"

namespace quillet {
namespace {

constexpr const char* kNote = "in-keyring";

/// False where it can't be noted, as then the files can't be written either and their store says so better.
bool noteKeyring(const std::filesystem::path& folder) {
  try {
    AtomicFile::write({}, folder / kNote);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

bool holdsKeys(SecretStore& files) {
  try {
    return files.load("device.signing.v1").has_value();
  } catch (const SecretStoreError&) {
    return true;  // loading the identity meets the same error and tells it
  }
}

std::unique_ptr<SecretStore> choose(const std::filesystem::path& folder, const std::string& service) {
  std::error_code ignored;
  if (std::filesystem::exists(folder / kNote, ignored)) return std::make_unique<SecretServiceStore>(service);
  auto files = std::make_unique<FileSecretStore>(folder, service);
  if (!holdsKeys(*files) && SecretServiceStore::available() && noteKeyring(folder)) {
    return std::make_unique<SecretServiceStore>(service);
  }
  return files;
}

/// Chooses when it is used first, since that may take seconds.
class SystemSecretStore final : public SecretStore {
 public:
  SystemSecretStore(std::filesystem::path folder, std::string service)
      : folder_(std::move(folder)), service_(std::move(service)) {}
  std::optional<Bytes> load(const std::string& key) override { return chosen().load(key); }
  void save(ByteView value, const std::string& key) override { chosen().save(value, key); }
  void remove(const std::string& key) override { chosen().remove(key); }

 private:
  SecretStore& chosen() {
    std::call_once(once_, [this] { chosen_ = choose(folder_, service_); });
    return *chosen_;
  }

  const std::filesystem::path folder_;
  const std::string service_;
  std::once_flag once_;
  std::unique_ptr<SecretStore> chosen_;
};

}  // namespace

std::unique_ptr<SecretStore> openSystemSecretStore(const std::filesystem::path& folder, const std::string& service) {
  return std::make_unique<SystemSecretStore>(folder, service);
}

}  // namespace quillet
