// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

#include "QuilletKit/Clock.h"
#include "QuilletService/DeviceStore.h"
#include "QuilletService/NonceGuard.h"

namespace quillet {

/// What a request claims about its sender, as it stood on the wire.
struct SignedRequest {
  std::string_view method, target;
  std::string_view deviceId, timestamp, nonce, signature;
  std::string_view body;
};

/// Tells who sent a request, by its signature, its age and its nonce. The signature is checked last, and once, so that
/// most forgeries cost a look-up.
class Authenticator {
 public:
  /// A timestamp may differ from the service's clock by `maximumAge` in both directions.
  Authenticator(DeviceStore& devices, TimeSource time, std::chrono::milliseconds maximumAge);

  /// The registered device that signed. Throws ServiceError: 401 for a bad signature, an unknown device, a wrong clock
  /// or a replay, 403 for a deleted device, 429 for too many requests.
  Device authenticate(const SignedRequest& request);
  /// Checks a request against the key that it brings along itself.
  void authenticate(const SignedRequest& request, const Crypto::Key& signingKey);

  void sweep() { nonces_.sweep(time_.now()); }

 private:
  DeviceStore& devices_;
  TimeSource time_;
  std::chrono::milliseconds maximumAge_;
  NonceGuard nonces_;
};

}  // namespace quillet
