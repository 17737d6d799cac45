// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>
#include <string>
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
  std::optional<Crypto::Digest> bodyHash{};  ///< The body's SHA-256; absent if it isn't known yet.
};

/// Tells who sent a request, by its signature, its age and its nonce. The signature is checked last, and once, so that
/// most forgeries cost a look-up; as it is the dearest step, it can be made on any thread, between `check` and
/// `accept`. Whoever keeps sending bad signatures in one device's name isn't listened to for a while, in that device's
/// name and from that address: the device itself is heard from anywhere else. Where a nonce can't be kept for the next
/// start, requests that change something are refused.
class Authenticator {
 public:
  /// A timestamp may differ from the service's clock by `maximumAge` in both directions. `nonceFile` may be empty.
  Authenticator(DeviceStore& devices, TimeSource time, std::chrono::milliseconds maximumAge,
                const std::filesystem::path& nonceFile);

  /// What is left to be verified of a request.
  class Check {
   public:
    /// Whether the signature is the key's. From any thread.
    bool holds() const { return Crypto::verify(key_, bytesOf(message_), signature_); }

   private:
    friend class Authenticator;
    std::int64_t timestamp_ = 0;
    NonceGuard::Key nonce_{};
    Crypto::Key key_{};
    std::string message_;
    Bytes signature_;
  };

  /// Everything but the signature, against the key of a registered device. Throws ServiceError: 401 for a bad
  /// signature, an unknown device, a wrong clock or a replay, 429 for too many requests or bad signatures.
  Check check(const SignedRequest& request);
  /// The same against the key that a request brings along itself.
  Check check(const SignedRequest& request, const Crypto::Key& signingKey) const;
  /// Takes a request whose signature was verified, or not. Throws as `check`, for what has changed since.
  void accept(const SignedRequest& request, const Check& check, bool holds);
  /// The registered device that has signed an accepted request. Throws ServiceError 403 for a deleted one.
  Device sender(const SignedRequest& request);
  /// The refusal that `check` would throw for any body and signature of this request.
  void precheck(const SignedRequest& request);

  void sweep();
  bool keepsNonces() const { return nonces_.isKept(); }
  std::size_t noncesRemembered() const { return nonces_.size(); }

 private:
  Check claimOf(const SignedRequest& request) const;
  Device deviceOf(const SignedRequest& request);
  void complete(Check& check, const SignedRequest& request, const Crypto::Key& signingKey) const;
  void requireFresh(const SignedRequest& request, const Check& check) const;
  void remember(const SignedRequest& request, const Check& check);
  NonceGuard::Moment moment() const;

  DeviceStore& devices_;
  TimeSource time_;
  std::chrono::milliseconds maximumAge_;
  NonceGuard nonces_;
  RateLimiter forgeries_;
};

}  // namespace quillet
