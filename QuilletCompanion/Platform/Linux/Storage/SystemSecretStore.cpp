// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Storage/SystemSecretStore.h"

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

}  // namespace

std::unique_ptr<SecretStore> openSystemSecretStore(const std::filesystem::path& folder, const std::string& service) {
  std::error_code ignored;
  if (std::filesystem::exists(folder / kNote, ignored)) return std::make_unique<SecretServiceStore>(service);
  auto files = std::make_unique<FileSecretStore>(folder, service);
  if (!holdsKeys(*files) && SecretServiceStore::available() && noteKeyring(folder)) {
    return std::make_unique<SecretServiceStore>(service);
  }
  return files;
}

}  // namespace quillet
