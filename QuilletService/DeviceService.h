// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletKit/Protocol/ServiceModels.h"
#include "QuilletService/PairDirectory.h"
#include "QuilletService/RateLimiter.h"

namespace quillet {

/// The endpoints of a device about itself, its pairs and its feedback. All throw ServiceError.
class DeviceService {
 public:
  DeviceService(Store& store, RelayHub& hub, PairDirectory& pairs, const TimeSource& time, int registrationsPerHour);

  /// Throws the refusal of a new device that no signature could avert. To be asked before the signature is checked,
  /// since a signed request leaves its nonce behind.
  void precheckRegistration(const RegisterRequest& request, std::string_view address);
  /// Registers, or brings a registration up to date. The request's signature was checked against its own key. Each
  /// address can register so many new devices in an hour.
  RegisterResponse registerDevice(const RegisterRequest& request, std::string_view address = {});
  OK rename(const Device& device, const RenameRequest& request);
  PairsResponse pairs(const Device& device);
  OK removePair(const Device& device, const std::string& peerDeviceId);
  /// Deletes all that is stored about the device, or nothing, and refuses its identity from now on.
  OK deleteDevice(const Device& device);
  OK sendFeedback(const Device& device, const FeedbackRequest& request);
  /// Notes that the device was here, at most once a minute.
  void noteSeen(const Device& device);
  void sweep();

 private:
  PairSummary summary(const Pair& pair, const std::string& peerId);

  Store& store_;
  RelayHub& hub_;
  PairDirectory& pairs_;
  TimeSource time_;
  RateLimiter feedbackLimit_, registrationLimit_;
};

}  // namespace quillet
