// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "QuilletCompanion/Relay/RelayTransport.h"

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

}  // namespace quillet::test
