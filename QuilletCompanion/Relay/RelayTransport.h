// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "QuilletKit/Protocol/WireModels.h"

namespace quillet {

/// Where outgoing frames go.
class RelayTransport {
 public:
  virtual ~RelayTransport() = default;
  /// True if the frame was handed to a proved socket. The caller keeps its own retry.
  virtual bool send(const RelayClientMessage& message) = 0;
};

/// How the message handler tells the application what happened. Main thread.
class RelayEventSink {
 public:
  virtual ~RelayEventSink() = default;
  virtual void peerRevoked(const std::string& deviceId) = 0;
  virtual void peerPaired() = 0;
  virtual void insertionSucceeded(const std::string& phoneName) = 0;
};

}  // namespace quillet
