// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>

#include "QuilletKit/Base/Bytes.h"

namespace quillet {

/// A store that failed. `status` is the platform's code (errno, or a GError code).
struct SecretStoreError : std::runtime_error {
  explicit SecretStoreError(std::int32_t status);
  std::int32_t status;
};

/// Named byte strings that stay on this machine and survive restarts. Operations may be called from any thread.
class SecretStore {
 public:
  virtual ~SecretStore() = default;
  /// Absent for a key never saved.
  virtual std::optional<Bytes> load(const std::string& key) = 0;
  /// Replaces any old value; afterwards `load` gives exactly these bytes.
  virtual void save(ByteView value, const std::string& key) = 0;
  /// Deleting a missing item succeeds.
  virtual void remove(const std::string& key) = 0;
};

class MemorySecretStore final : public SecretStore {
 public:
  std::optional<Bytes> load(const std::string& key) override;
  void save(ByteView value, const std::string& key) override;
  void remove(const std::string& key) override;

 private:
  std::mutex lock_;
  std::map<std::string, Bytes> items_;
};

/// One file of mode 0600 a key, in a folder of mode 0700 named after the service; written durably.
class FileSecretStore final : public SecretStore {
 public:
  FileSecretStore(std::filesystem::path folder, const std::string& service);
  std::optional<Bytes> load(const std::string& key) override;
  void save(ByteView value, const std::string& key) override;
  void remove(const std::string& key) override;

 private:
  std::filesystem::path pathOf(const std::string& key) const;
  std::filesystem::path folder_;
};

}  // namespace quillet
