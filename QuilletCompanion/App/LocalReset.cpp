// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/LocalReset.h"

#include <utility>

#include "QuilletCompanion/Relay/InsertionJournal.h"
#include "QuilletKit/Base/Log.h"
#include "QuilletKit/Identity/DeviceIdentity.h"

namespace quillet {

LocalReset::LocalReset(SecretStore& secretStore, UserDefaults& defaults,
                       std::optional<std::filesystem::path> supportFolder)
    : secretStore_(secretStore), defaults_(defaults), supportFolder_(std::move(supportFolder)) {}

LocalReset::Forgotten LocalReset::run(PeerStore& peers, Onboarding& onboarding) const {
  const Forgotten forgotten{.keys = forgetKeys(),
                            .peers = forgetPeers(peers),
                            .journal = !supportFolder_ || InsertionJournal::forget(*supportFolder_)};
  for (const char* key : {"pendingRename", "pendingRevocations"}) defaults_.remove(key);
  onboarding.forget();
  return forgotten;
}

bool LocalReset::forgetKeys() const {
  try {
    DeviceIdentity::remove(secretStore_);
    return true;
  } catch (const std::exception&) {
    Log::standard("relay", "Could not remove the device identity");
    return false;
  }
}

bool LocalReset::forgetPeers(PeerStore& peers) const {
  try {
    peers.removeAll();
  } catch (const std::exception&) {
    Log::standard("relay", "Could not remove the paired devices' file");
  }
  if (!supportFolder_) return true;
  const auto file = *supportFolder_ / "peers.json";
  std::error_code ignored;
  std::filesystem::remove(file, ignored);
  return std::filesystem::symlink_status(file, ignored).type() == std::filesystem::file_type::not_found;
}

}  // namespace quillet
