// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Relay/PeerStore.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "QuilletKit/Base/AtomicFile.h"
#include "QuilletKit/Base/File.h"
#include "QuilletKit/Base/Log.h"
#include "QuilletKit/JSON/JSONFields.h"
#include "QuilletKit/Protocol/WireCoding.h"

namespace quillet {
namespace {

struct FileFormat {
  std::int64_t version = 1;
  std::vector<StoredPeer> peers;
};

constexpr auto jsonFields(std::type_identity<FileFormat>) {
  using namespace JSONCoding;
  return fields(field("peers", &FileFormat::peers), field("version", &FileFormat::version));
}

std::vector<StoredPeer> without(std::vector<StoredPeer> peers, const std::string& deviceId) {
  std::erase_if(peers, [&](const StoredPeer& peer) { return peer.identity.deviceId == deviceId; });
  return peers;
}

}  // namespace

constexpr auto jsonFields(std::type_identity<StoredPeer>) {
  using namespace JSONCoding;
  return fields(field("identity", &StoredPeer::identity), field("pairedAt", &StoredPeer::pairedAt));
}

namespace {

/// A file without anything in it has no peers.
std::optional<FileFormat> decoded(const std::string& text) {
  try {
    return text.empty() ? FileFormat() : JSONCoding::decode<FileFormat>(text);
  } catch (const JSONCoding::DecodingError&) {
    return std::nullopt;
  }
}

}  // namespace

PeerStore::PeerStore(std::optional<std::filesystem::path> fileURL) : fileURL_(std::move(fileURL)) {
  if (fileURL_) load();
}

std::optional<StoredPeer> PeerStore::peer(const std::string& deviceId) const {
  const auto& peers = peers_.get();
  const auto found =
      std::find_if(peers.begin(), peers.end(), [&](const auto& peer) { return peer.identity.deviceId == deviceId; });
  if (found == peers.end()) return std::nullopt;
  return *found;
}

void PeerStore::upsert(const PeerIdentity& identity, std::int64_t pairedAt) {
  if (!identity.isConsistent()) throw std::invalid_argument("The peer's identity is not consistent");
  auto peers = without(peers_.get(), identity.deviceId);
  peers.push_back({identity, pairedAt});
  store(std::move(peers));
}

void PeerStore::remove(const std::string& deviceId) {
  if (peer(deviceId)) store(without(peers_.get(), deviceId));
}

void PeerStore::removeAll() {
  peers_.set({});
  if (fileURL_) std::filesystem::remove(*fileURL_);
}

void PeerStore::load() {
  const auto file = File::read(*fileURL_, decoded);
  if (file.condition == File::Condition::damaged || file.condition == File::Condition::unreadable) {
    Log::error("relay", "Could not read paired devices; keeping the file untouched");
    return;
  }
  isComplete_ = true;
  if (!file.value) return;
  std::vector<StoredPeer> peers;
  for (const auto& stored : file.value->peers) {
    isComplete_ = isComplete_ && stored.identity.isConsistent();
    if (!stored.identity.isConsistent()) continue;
    peers = without(std::move(peers), stored.identity.deviceId);
    peers.push_back(stored);
  }
  peers_.set(std::move(peers));
}

void PeerStore::store(std::vector<StoredPeer> peers) {
  peers_.set(std::move(peers));
  if (fileURL_) AtomicFile::write(bytesOf(JSONCoding::encode(FileFormat{1, peers_.get()})), *fileURL_);
}

}  // namespace quillet
