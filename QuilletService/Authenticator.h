// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string_view>

#include "QuilletKit/Async/Clock.h"
#include "QuilletService/NonceGuard.h"
#include "QuilletService/RateLimiter.h"
#include "QuilletService/Storage/DeviceStore.h"

namespace quillet {

/// What a request claims about its sender, as it stood on the wire.
struct SignedRequest {
  std::string_view method, target;
  std::string_view deviceId, timestamp, nonce, signature;
  std::string_view body;
  std::string_view address;  ///< Where it came from, as AddressLimiter counts; empty if that isn't known.
};

/// Tells who sent a request, by its signature, its age and its nonce. The signature is checked last, and once, so that
/// most forgeries cost a look-up. Whoever keeps sending bad signatures in one device's name isn't listened to for a
/// while, in that device's name and from that address: the device itself is heard from anywhere else. Where a nonce
/// can't be kept for the next start, requests that change something are refused.
class Authenticator {
 public:
  /// A timestamp may differ from the service's clock by `maximumAge` in both directions. `nonceFile` may be empty.
  Authenticator(DeviceStore& devices, TimeSource time, std::chrono::milliseconds maximumAge,
                const std::filesystem::path& nonceFile);

  /// The registered device that signed. Throws ServiceError: 401 for a bad signature, an unknown device, a wrong clock
  /// or a replay, 403 for a deleted device, 429 for too many requests or bad signatures.
  Device authenticate(const SignedRequest& request);
  /// Checks a request against the key that it brings along itself.
  void authenticate(const SignedRequest& request, const Crypto::Key& signingKey);
  /// What `authenticate` would throw for this request whatever its body and signature are.
  void precheck(const SignedRequest& request);

  void sweep();
  bool keepsNonces() const { return nonces_.isKept(); }
  std::size_t noncesRemembered() const { return nonces_.size(); }

 private:
  struct Claim;
  Claim claimOf(const SignedRequest& request) const;
  Device deviceOf(const SignedRequest& request);
  void requireFresh(const SignedRequest& request, const Claim& claim) const;
  void verify(const SignedRequest& request, const Claim& claim, const Crypto::Key& signingKey);

  void remember(const SignedRequest& request, const Claim& claim);
  NonceGuard::Moment moment() const;

  DeviceStore& devices_;
  TimeSource time_;
  std::chrono::milliseconds maximumAge_;
  NonceGuard nonces_;
  RateLimiter forgeries_;
};

}  // namespace quillet
