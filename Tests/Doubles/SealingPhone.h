// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "QuilletKit/Identity/DeviceIdentity.h"
#include "QuilletKit/Protocol/WireModels.h"
#include "Tests/Doubles/RecordingTransport.h"

namespace quillet::test {

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

}  // namespace quillet::test
