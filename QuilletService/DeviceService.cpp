// SPDX-License-Identifier: MIT
#include "QuilletService/DeviceService.h"

#include "QuilletKit/Base/Log.h"
#include "QuilletKit/Base/Unicode.h"
#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletService/ServiceError.h"
#include "QuilletService/Validation.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr int kFeedbackPerHour = 20;
constexpr std::int64_t kSeenInterval = 60'000;
constexpr int kDeletedCloseCode = 1008;
constexpr std::size_t kLongestVersion = 64;
constexpr std::size_t kLongestSystem = 256;

Device deviceIn(const RegisterRequest& request) {
  Device device;
  device.signingKey = Validation::publicKey(request.signingPublicKey, "signingPublicKey");
  device.agreementKey = Validation::publicKey(request.agreementPublicKey, "agreementPublicKey");
  device.id = DeviceIdentity::fingerprint(device.signingKey);
  Validation::requireName(request.name);
  if (request.appVersion.size() > kLongestVersion) throw Refusal::badRequest("appVersion is too long.");
  device.name = request.name;
  device.appVersion = request.appVersion;
  device.platform = request.platform;
  return device;
}

}  // namespace

DeviceService::DeviceService(Store& store, RelayHub& hub, PairDirectory& pairs, const TimeSource& time,
                             int registrationsPerHour)
    : store_(store),
      hub_(hub),
      pairs_(pairs),
      time_(time),
      feedbackLimit_(kFeedbackPerHour, 1h, time),
      registrationLimit_(registrationsPerHour, 1h, time) {}

void DeviceService::sweep() {
  feedbackLimit_.sweep();
  registrationLimit_.sweep();
}

void DeviceService::precheckRegistration(const RegisterRequest& request, std::string_view address) {
  const Device device = deviceIn(request);
  if (registrationLimit_.spent(std::string(address)) && !store_.devices.device(device.id)) {
    throw Refusal::tooManyRequests();
  }
}

RegisterResponse DeviceService::registerDevice(const RegisterRequest& request, std::string_view address) {
  Device device = deviceIn(request);
  device.registeredAt = time_.now();
  if (const auto known = store_.devices.device(device.id)) {
    if (known->revoked) throw Refusal::deviceRevoked();
    if (known->isDesktop() != device.isDesktop()) {
      throw ServiceError(409, "platform_changed", "This identity is registered as another kind of device.");
    }
    device.registeredAt = known->registeredAt;
  } else if (!registrationLimit_.admit(std::string(address))) {
    throw Refusal::tooManyRequests();
  }
  store_.devices.save(device);
  Log::info("service", "Registered {}", device.shortId());
  return {device.id, device.registeredAt};
}

OK DeviceService::rename(const Device& device, const RenameRequest& request) {
  Validation::requireName(request.name);
  store_.devices.rename(device.id, request.name);
  return {true};
}

PairsResponse DeviceService::pairs(const Device& device) {
  PairsResponse response;
  for (const Pair& pair : store_.devices.pairsOf(device.id)) {
    response.pairs.push_back(summary(pair, device.isDesktop() ? pair.phoneId : pair.macId));
  }
  return response;
}

PairSummary DeviceService::summary(const Pair& pair, const std::string& peerId) {
  const auto peer = store_.devices.device(peerId);
  PairSummary summary{.peerDeviceId = peerId, .pairedAt = pair.pairedAt};
  if (peer) {
    summary.peerName = peer->name;
    summary.peerPlatform = peer->platform;
    summary.peerLastSeenAt = peer->lastSeenAt;
  }
  return summary;
}

OK DeviceService::removePair(const Device& device, const std::string& peerDeviceId) {
  const bool desktop = device.isDesktop();
  const bool removed =
      desktop ? pairs_.remove(device.id, peerDeviceId, false) : pairs_.remove(peerDeviceId, device.id, true);
  if (!removed) throw Refusal::notPaired(404);
  Log::info("service", "{} removed a pair", device.shortId());
  return {true};
}

OK DeviceService::deleteDevice(const Device& device) {
  const std::vector<Pair> pairs = store_.devices.pairsOf(device.id);
  Transaction transaction(store_.database);
  for (const Pair& pair : pairs) pairs_.erase(pair);
  store_.pairings.removeOfDevice(device.id);
  store_.devices.removeFeedbackOf(device.id);
  store_.devices.revoke(device.id, time_.now());
  transaction.commit();
  store_.database.makeDurableAndForget();
  for (const Pair& pair : pairs) pairs_.tellEnd(pair, !device.isDesktop());
  hub_.disconnect(device.id, kDeletedCloseCode);
  Log::info("service", "Deleted {}", device.shortId());
  return {true};
}

OK DeviceService::sendFeedback(const Device& device, const FeedbackRequest& request) {
  const std::size_t length = Unicode::graphemeClusters(std::string_view(request.message)).size();
  if (length == 0 || length > Feedback::kMaximumMessageCharacters) {
    throw Refusal::badRequest("The message must have 1 to 5000 characters.");
  }
  if (request.replyTo && !Feedback::isEmail(*request.replyTo)) throw Refusal::badRequest("replyTo isn't an address.");
  if (request.appVersion.size() > kLongestVersion || request.os.size() > kLongestSystem ||
      request.model.size() > kLongestSystem) {
    throw Refusal::badRequest("The description of the system is too long.");
  }
  if (!feedbackLimit_.admit(device.id)) {
    throw ServiceError(429, "rate_limited", "Too many messages. Try again in an hour.", true);
  }
  store_.devices.addFeedback(device.id, time_.now(), JSONCoding::encode(request));
  return {true};
}

void DeviceService::noteSeen(const Device& device) {
  const std::int64_t now = time_.now();
  if (device.lastSeenAt && now - *device.lastSeenAt < kSeenInterval && now >= *device.lastSeenAt) return;
  store_.noteSeen(device.id, now);
}

}  // namespace quillet
