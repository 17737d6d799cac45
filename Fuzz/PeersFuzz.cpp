// SPDX-License-Identifier: MIT
#include "Fuzz/ScratchFile.h"
#include "QuilletCompanion/Relay/PeerStore.h"

/// Whatever the peers' file holds, only consistent peers come out of it, and a new one goes in.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillet;
  static const bool quiet = fuzz::silenceLog();
  static const PeerIdentity added = fuzz::identityOf(1).peerIdentity("Phone", DevicePlatform::ios);
  const fuzz::ScratchFile file("peers.json", data, size);

  PeerStore store(file.path());
  for (const auto& peer : store.peers().get()) {
    fuzz::require(peer.identity.isConsistent() && store.peer(peer.identity.deviceId) == peer);
  }
  store.upsert(added, 1);
  fuzz::require(quiet && PeerStore(file.path()).peers().get() == store.peers().get());
  return 0;
}
