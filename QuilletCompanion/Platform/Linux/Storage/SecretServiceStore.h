// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "QuilletKit/Identity/SecretStore.h"

namespace quillet {

/// Secrets as items of the desktop's Secret Service, in its default collection, found by service and key. Any thread;
/// each call blocks for about 5 seconds at most and then fails. A failure's status is the code of the GError; what is
/// behind a lock is a failure, never an absent item.
class SecretServiceStore final : public SecretStore {
 public:
  /// `service` keeps this store's items apart from all others.
  explicit SecretServiceStore(std::string service) : service_(std::move(service)) {}

  /// Whether a Secret Service answers that can be used without asking the person anything.
  static bool available();

  std::optional<Bytes> load(const std::string& key) override;
  void save(ByteView value, const std::string& key) override;
  void remove(const std::string& key) override;

 private:
  std::string service_;
};

}  // namespace quillet
