// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "QuilletCompanion/Relay/RelayMessageHandler.h"
#include "QuilletCompanion/Relay/RelayTransport.h"
#include "QuilletKit/Identity/DeviceIdentity.h"
#include "QuilletKit/Protocol/WireModels.h"

namespace quillet::test {

/// Keeps the frames that were sent.
class RecordingTransport final : public RelayTransport {
 public:
  bool send(const RelayClientMessage& message) override {
    sent.push_back(message);
    return true;
  }
  template <typename Frame>
  std::vector<Frame> all() const {
    std::vector<Frame> found;
    for (const auto& message : sent) {
      if (const auto* frame = std::get_if<Frame>(&message)) found.push_back(*frame);
    }
    return found;
  }

  std::vector<RelayClientMessage> sent;
};

class RecordingEventSink final : public RelayEventSink {
 public:
  void peerRevoked(const std::string& deviceId) override { told.push_back("revoked " + deviceId); }
  void peerPaired() override { told.push_back("paired"); }
  void insertionSucceeded(const std::string& phoneName) override { told.push_back("inserted " + phoneName); }

  std::vector<std::string> told;
};

/// A phone with its keys, and the frames that bring what it sealed for a desktop.
struct SealingPhone {
  explicit SealingPhone(const std::string& name = "Pocket") : peer(keys.peerIdentity(name, DevicePlatform::ios)) {}

  RelayServer::Prepare prepares(const PeerIdentity& mac, const std::string& requestId = "r") const {
    const PrepareRequestPayload payload{requestId, "u", 1};
    return {requestId, peer.deviceId, Envelope::seal(payload, EnvelopePurpose::prepare, keys, mac)};
  }
  /// For one utterance in the frame and, by a faulty phone, another in the envelope.
  RelayServer::Deliver delivers(const PeerIdentity& mac, const std::string& utteranceId, const std::string& token,
                                const std::string& inner) const {
    const DeliveryPayload payload{inner, token, "Hello", RecognitionMode::cloud, 1};
    return {utteranceId, peer.deviceId, Envelope::seal(payload, EnvelopePurpose::delivery, keys, mac)};
  }
  RelayServer::Deliver delivers(const PeerIdentity& mac, const std::string& utteranceId,
                                const std::string& token) const {
    return delivers(mac, utteranceId, token, utteranceId);
  }
  /// The results that were sent to it, opened and verified.
  std::vector<ResultPayload> results(const PeerIdentity& mac, const RecordingTransport& transport) const {
    std::vector<ResultPayload> opened;
    for (const auto& frame : transport.all<RelayClient::Result>()) {
      if (frame.to != peer.deviceId) continue;
      opened.push_back(frame.envelope.open<ResultPayload>(EnvelopePurpose::result, keys, mac));
      if (!opened.back().verify(mac)) throw std::logic_error("a result has a wrong signature");
    }
    return opened;
  }

  DeviceIdentity keys = DeviceIdentity::generate();
  PeerIdentity peer;
};

/// A handler whose owner holds nothing else.
template <typename... Arguments>
std::shared_ptr<RelayMessageHandler> makeHandler(Arguments&&... arguments) {
  auto owner = std::make_shared<std::optional<RelayMessageHandler>>();
  owner->emplace(std::weak_ptr<const void>(owner), std::forward<Arguments>(arguments)...);
  return {owner, &**owner};
}

}  // namespace quillet::test
