// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Relay/PeerStore.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "QuilletCompanion/Relay/StoredFile.h"
#include "QuilletKit/Base/AtomicFile.h"
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

/// The file's bytes; empty when there are none to be had.
std::string contents(const std::filesystem::path& path) {
  try {
    return readFile(path);
  } catch (const std::exception&) {
    return {};
  }
}

}  // namespace

constexpr auto jsonFields(std::type_identity<StoredPeer>) {
  using namespace JSONCoding;
  return fields(field("identity", &StoredPeer::identity), field("pairedAt", &StoredPeer::pairedAt));
}

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
  const std::string text = contents(*fileURL_);
  if (text.empty()) return;
  try {
    std::vector<StoredPeer> peers;
    for (auto& stored : JSONCoding::decode<FileFormat>(text).peers) {
      if (!stored.identity.isConsistent()) continue;
      peers = without(std::move(peers), stored.identity.deviceId);
      peers.push_back(std::move(stored));
    }
    peers_.set(std::move(peers));
  } catch (const JSONCoding::DecodingError&) {
    Log::error("relay", "Could not read paired devices; keeping the file untouched");
  }
}

void PeerStore::store(std::vector<StoredPeer> peers) {
  peers_.set(std::move(peers));
  if (fileURL_) AtomicFile::write(bytesOf(JSONCoding::encode(FileFormat{1, peers_.get()})), *fileURL_);
}

}  // namespace quillet
