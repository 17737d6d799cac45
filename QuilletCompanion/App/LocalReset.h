// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>

#include "QuilletCompanion/App/Onboarding.h"
#include "QuilletCompanion/App/UserDefaults.h"
#include "QuilletCompanion/Relay/PeerStore.h"
#include "QuilletKit/Identity/SecretStore.h"

namespace quillet {

/// Forgets all that makes this a known device: identity, peers, journal, what the service has yet to hear, and how far
/// the set-up was. Failures are kept to what they concern. The name and the user's settings stay.
class LocalReset {
 public:
  struct Forgotten {
    bool keys = false, peers = false, journal = false;
  };

  /// `supportFolder`: where journal and peers live; in memory without one. The references outlive it.
  LocalReset(SecretStore& secretStore, UserDefaults& defaults, std::optional<std::filesystem::path> supportFolder);

  /// Tells what is gone from where it was kept.
  Forgotten run(PeerStore& peers, Onboarding& onboarding) const;

 private:
  bool forgetKeys() const;
  bool forgetPeers(PeerStore& peers) const;

  SecretStore& secretStore_;
  UserDefaults& defaults_;
  const std::optional<std::filesystem::path> supportFolder_;
};

}  // namespace quillet
