// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletKit/Protocol/ServiceModels.h"
#include "QuilletService/PairDirectory.h"
#include "QuilletService/RateLimiter.h"

namespace quillet {

/// The endpoints that introduce a phone to a desktop. A desktop opens a session, a phone claims it by id or by code,
/// and when both have confirmed the pair stands. A session that nobody finishes expires; the claim starts its time
/// anew. To anyone but its two devices a session doesn't exist. All throw ServiceError.
class PairingService {
 public:
  PairingService(Store& store, PairDirectory& pairs, const TimeSource& time, std::chrono::milliseconds timeToLive);

  CreatePairingResponse create(const Device& device, const CreatePairingRequest& request);
  ClaimPairingResponse claim(const Device& device, const ClaimPairingRequest& request);
  PairingStatus status(const Device& device, const std::string& sessionId);
  PairingStatus confirm(const Device& device, const std::string& sessionId, const ConfirmPairingRequest& request);
  /// Also undoes a pair that this session has just made: the caller could not finish its side.
  PairingStatus cancel(const Device& device, const std::string& sessionId);
  void sweep();

 private:
  PairingSession sessionFor(const Device& device, const std::string& sessionId);
  std::optional<PairingSession> findToClaim(const ClaimPairingRequest& request);
  void applyExpiry(PairingSession& session) const;
  std::string unusedCode();
  static PairingStatus statusFor(const Device& device, const PairingSession& session);
  static ClaimPairingResponse claimResponse(const PairingSession& session);

  Store& store_;
  PairDirectory& pairs_;
  TimeSource time_;
  std::chrono::milliseconds timeToLive_;
  RateLimiter createLimit_, claimLimit_;
};

}  // namespace quillet
