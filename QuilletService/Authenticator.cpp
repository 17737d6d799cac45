// SPDX-License-Identifier: MIT
#include "QuilletService/Authenticator.h"

#include <charconv>

#include "QuilletKit/Base64URL.h"
#include "QuilletKit/RequestSigner.h"
#include "QuilletService/ServiceError.h"

namespace quillet {
namespace {

constexpr std::size_t kNoncesPerDevice = 10'000;
constexpr std::size_t kLongestNonce = 64;
constexpr std::size_t kLongestSignature = 88;

std::int64_t parseTimestamp(std::string_view text) {
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value < 0) throw Refusal::badSignature();
  return value;
}

void requireForm(const SignedRequest& request) {
  const bool fits = !request.deviceId.empty() && !request.nonce.empty() && request.nonce.size() <= kLongestNonce &&
                    !request.signature.empty() && request.signature.size() <= kLongestSignature;
  if (!fits) throw Refusal::badSignature();
}

}  // namespace

Authenticator::Authenticator(DeviceStore& devices, TimeSource time, std::chrono::milliseconds maximumAge)
    : devices_(devices), time_(std::move(time)), maximumAge_(maximumAge), nonces_(kNoncesPerDevice) {}

Device Authenticator::authenticate(const SignedRequest& request) {
  requireForm(request);
  auto device = devices_.device(std::string(request.deviceId));
  if (!device) throw Refusal::unknownDevice();
  authenticate(request, device->signingKey);
  if (device->revoked) throw Refusal::deviceRevoked();
  return *std::move(device);
}

void Authenticator::authenticate(const SignedRequest& request, const Crypto::Key& signingKey) {
  requireForm(request);
  const std::int64_t timestamp = parseTimestamp(request.timestamp);
  const std::int64_t now = time_.now();
  const std::int64_t age = maximumAge_.count();
  if (timestamp < now - age || timestamp > now + age) {
    throw ServiceError(401, "clock_skew", "The request's time is too far from the service's.");
  }
  const std::string deviceId(request.deviceId);
  const std::string nonce(request.nonce);
  if (nonces_.contains(deviceId, nonce)) throw ServiceError(401, "replayed", "The request was seen before.");

  const auto signature = Base64URL::decode(request.signature);
  const std::string canonical =
      RequestSigner::canonicalString(request.method, request.target, timestamp, nonce, bytesOf(request.body));
  if (!signature || !Crypto::verify(signingKey, bytesOf(canonical), *signature)) throw Refusal::badSignature();
  if (!nonces_.add(deviceId, nonce, timestamp + age, now)) throw Refusal::tooManyRequests();
}

}  // namespace quillet
