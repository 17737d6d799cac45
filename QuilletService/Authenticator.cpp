// SPDX-License-Identifier: MIT
#include "QuilletService/Authenticator.h"

#include <charconv>

#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Protocol/Identifier.h"
#include "QuilletKit/Protocol/RequestSigner.h"
#include "QuilletService/ServiceError.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kNoncesPerDevice = 10'000;
constexpr std::size_t kLongestNonce = 64;
// 64 bytes, with or without padding.
constexpr std::size_t kShortestSignature = 86, kLongestSignature = 88;
constexpr int kForgeriesPerMinute = 5;

std::int64_t parseTimestamp(std::string_view text) {
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value < 0) throw Refusal::badSignature();
  return value;
}

void requireForm(const SignedRequest& request) {
  const bool fits = Identifier::isDevice(request.deviceId) && !request.nonce.empty() &&
                    request.nonce.size() <= kLongestNonce && request.signature.size() >= kShortestSignature &&
                    request.signature.size() <= kLongestSignature;
  if (!fits) throw Refusal::badSignature();
}

ServiceError clockSkew() {
  return {401, "clock_skew", "The request's time is too far from the service's."};
}
ServiceError replayed() {
  return {401, "replayed", "The request was seen before."};
}

std::string forger(const SignedRequest& request) {
  return std::string(request.deviceId).append("|").append(request.address);
}

}  // namespace

struct Authenticator::Claim {
  std::int64_t timestamp = 0, now = 0;
  NonceGuard::Key nonce{};
};

Authenticator::Authenticator(DeviceStore& devices, TimeSource time, std::chrono::milliseconds maximumAge,
                             const std::filesystem::path& nonceFile)
    : devices_(devices),
      time_(std::move(time)),
      maximumAge_(maximumAge),
      nonces_({kNoncesPerDevice, maximumAge}, nonceFile, moment()),
      forgeries_(kForgeriesPerMinute, 1min, time_) {}

Device Authenticator::authenticate(const SignedRequest& request) {
  const Claim claim = claimOf(request);
  Device device = deviceOf(request);
  requireFresh(request, claim);
  verify(request, claim, device.signingKey);
  if (device.revoked) throw Refusal::deviceRevoked();
  return device;
}

void Authenticator::authenticate(const SignedRequest& request, const Crypto::Key& signingKey) {
  const Claim claim = claimOf(request);
  requireFresh(request, claim);
  verify(request, claim, signingKey);
}

void Authenticator::precheck(const SignedRequest& request) {
  const Claim claim = claimOf(request);
  deviceOf(request);
  requireFresh(request, claim);
}

Authenticator::Claim Authenticator::claimOf(const SignedRequest& request) const {
  requireForm(request);
  const Claim claim{parseTimestamp(request.timestamp), time_.now(), NonceGuard::key(request.deviceId, request.nonce)};
  const std::int64_t age = maximumAge_.count();
  if (claim.timestamp < claim.now - age || claim.timestamp > claim.now + age) {
    throw clockSkew();
  }
  return claim;
}

Device Authenticator::deviceOf(const SignedRequest& request) {
  auto device = devices_.device(std::string(request.deviceId));
  if (!device) throw Refusal::unknownDevice();
  return *std::move(device);
}

void Authenticator::requireFresh(const SignedRequest& request, const Claim& claim) const {
  if (nonces_.mayHaveForgotten(claim.timestamp)) throw clockSkew();
  if (nonces_.contains(claim.nonce)) throw replayed();
  if (!forgeries_.empty() && forgeries_.spent(forger(request))) throw Refusal::tooManyRequests();
}

void Authenticator::verify(const SignedRequest& request, const Claim& claim, const Crypto::Key& signingKey) {
  const auto signature = Base64URL::decode(request.signature);
  if (!signature) throw Refusal::badSignature();
  const std::string canonical = RequestSigner::canonicalString(request.method, request.target, claim.timestamp,
                                                               request.nonce, bytesOf(request.body));
  if (!Crypto::verify(signingKey, bytesOf(canonical), *signature)) {
    forgeries_.admit(forger(request));
    throw Refusal::badSignature();
  }
  remember(request, claim);
}

void Authenticator::remember(const SignedRequest& request, const Claim& claim) {
  switch (nonces_.add(request.deviceId, claim.nonce, claim.timestamp, moment())) {
    case NonceGuard::Outcome::taken:
      return;
    case NonceGuard::Outcome::repeated:
      throw replayed();
    case NonceGuard::Outcome::full:
      throw Refusal::tooManyRequests();
    case NonceGuard::Outcome::unkept:  // what only reads may be repeated
      if (request.method == "GET") return;
      throw ServiceError(503, "storage_failing", "The request can't be protected against a repetition now.", true);
  }
}

NonceGuard::Moment Authenticator::moment() const {
  return {time_.now(), time_.monotonic()};
}

void Authenticator::sweep() {
  nonces_.sweep(moment());
  forgeries_.sweep();
}

}  // namespace quillet
