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

Authenticator::Authenticator(DeviceStore& devices, TimeSource time, std::chrono::milliseconds maximumAge,
                             const std::filesystem::path& nonceFile)
    : devices_(devices),
      time_(std::move(time)),
      maximumAge_(maximumAge),
      nonces_({kNoncesPerDevice, maximumAge}, nonceFile, moment()),
      forgeries_(kForgeriesPerMinute, 1min, time_) {}

Authenticator::Check Authenticator::check(const SignedRequest& request) {
  Check check = claimOf(request);
  complete(check, request, deviceOf(request).signingKey);
  return check;
}

Authenticator::Check Authenticator::check(const SignedRequest& request, const Crypto::Key& signingKey) const {
  Check check = claimOf(request);
  complete(check, request, signingKey);
  return check;
}

void Authenticator::complete(Check& check, const SignedRequest& request, const Crypto::Key& signingKey) const {
  requireFresh(request, check);
  auto signature = Base64URL::decode(request.signature);
  if (!signature) throw Refusal::badSignature();
  const Crypto::Digest hash = request.bodyHash ? *request.bodyHash : Crypto::sha256(bytesOf(request.body));
  check.key_ = signingKey;
  check.message_ =
      RequestSigner::canonicalString(request.method, request.target, check.timestamp_, request.nonce, hash);
  check.signature_ = *std::move(signature);
}

void Authenticator::accept(const SignedRequest& request, const Check& check, bool holds) {
  requireFresh(request, check);  // another one like it may have come meanwhile
  if (!holds) {
    forgeries_.admit(forger(request));
    throw Refusal::badSignature();
  }
  remember(request, check);
}

Device Authenticator::sender(const SignedRequest& request) {
  Device device = deviceOf(request);
  if (device.revoked) throw Refusal::deviceRevoked();
  return device;
}

void Authenticator::precheck(const SignedRequest& request) {
  const Check check = claimOf(request);
  deviceOf(request);
  requireFresh(request, check);
}

Authenticator::Check Authenticator::claimOf(const SignedRequest& request) const {
  requireForm(request);
  Check check;
  check.timestamp_ = parseTimestamp(request.timestamp);
  check.nonce_ = NonceGuard::key(request.deviceId, request.nonce);
  const std::int64_t now = time_.now(), age = maximumAge_.count();
  if (check.timestamp_ < now - age || check.timestamp_ > now + age) throw clockSkew();
  return check;
}

Device Authenticator::deviceOf(const SignedRequest& request) {
  auto device = devices_.device(std::string(request.deviceId));
  if (!device) throw Refusal::unknownDevice();
  return *std::move(device);
}

void Authenticator::requireFresh(const SignedRequest& request, const Check& check) const {
  if (nonces_.mayHaveForgotten(check.timestamp_)) throw clockSkew();
  if (nonces_.contains(check.nonce_)) throw replayed();
  if (!forgeries_.empty() && forgeries_.spent(forger(request))) throw Refusal::tooManyRequests();
}

void Authenticator::remember(const SignedRequest& request, const Check& check) {
  switch (nonces_.add(request.deviceId, check.nonce_, check.timestamp_, moment())) {
    case NonceGuard::Outcome::taken:
      return;
    case NonceGuard::Outcome::repeated:
      throw replayed();
    case NonceGuard::Outcome::full:
      throw Refusal::tooManyRequests();
    case NonceGuard::Outcome::unkept:  // what only reads may be repeated
      if (request.method == "GET" || request.method == "HEAD") return;
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
