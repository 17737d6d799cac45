// SPDX-License-Identifier: MIT
// What the user asks of the model about this device and its data: health, feedback, revocation, reset, deletion.
#include "QuilletCompanion/App/AppModel.h"

#include <algorithm>

#include "QuilletCompanion/App/LocalReset.h"

namespace quillet {

Awaitable<bool> AppModel::revoke(std::string peerDeviceId) {
  const auto self = shared_from_this();
  co_return co_await upkeep_.revoke(std::move(peerDeviceId));
}

void AppModel::retryConnection() {
  if (awaitsIdentity_) return loadIdentity();
  if (registration_.isRevoked()) return;
  if (!registration_.isRegistered()) return startRegistration();
  if (const auto connection = connection_.get()) connection->reconnectNow();
}

Awaitable<void> AppModel::checkHealth() {
  const auto self = shared_from_this();
  if (!serviceLocation_) co_return;
  const bool reachable = co_await health_.check(*serviceLocation_);
  if (reachable && !registration_.isRegistered()) retryConnection();
}

Awaitable<void> AppModel::sendFeedback(std::string message, std::optional<std::string> replyTo) {
  const auto self = shared_from_this();
  if (!services_) throw APIError(APIError::Transport{"Not registered"});
  const auto api = services_->api;
  FeedbackRequest request{std::move(message), std::move(replyTo), parts_.appVersion, parts_.machine.operatingSystem,
                          parts_.machine.hardwareModel};
  co_await api->sendFeedback(std::move(request));
}

// The service goes first, so that a failed request leaves this device paired and usable, and the keys are destroyed
// last, so that the request could still be signed.
Awaitable<AppModel::Remains> AppModel::deleteCloudData() {
  const auto self = shared_from_this();
  if (!services_) throw DeletionError("Quillet is not connected to the server.");
  const auto api = services_->api;
  bool deleted = true;
  try {
    co_await api->deleteDevice();
  } catch (const APIError& error) {
    constexpr int kForbidden = 403;
    const auto* answer = error.server();
    deleted = answer != nullptr && answer->status == kForbidden && answer->body.code == "device_revoked";
  }
  if (!deleted) throw DeletionError("Couldn't reach the Quillet service. Nothing was deleted.");
  const bool isStillThatDevice = services_ && services_->api == api;
  co_return isStillThatDevice ? resetLocal() : Remains();
}

void AppModel::stopServices() {
  identityTask_.cancel();
  awaitsIdentity_ = false;
  registration_.stop();
  refusals_ = 0;
  dictation_.forgetService();
  upkeep_.detach();
  readiness_.detach();
  if (const auto services = std::exchange(services_, nullptr)) {
    services->stop();
    std::erase_if(formerServices_, [](const auto& former) { return former.expired(); });
    formerServices_.push_back(services);
  }
  journalWatch_.reset();
  connection_.set(nullptr);
  deviceId_.set(std::nullopt);
}

bool AppModel::isFinishing() const {
  return std::any_of(formerServices_.begin(), formerServices_.end(),
                     [](const auto& former) { return !former.expired(); });
}

void AppModel::abandonInsertions() {
  for (const auto& former : formerServices_) {
    if (const auto services = former.lock()) services->inserter.abandon();
  }
}

AppModel::Remains AppModel::resetLocal() {
  const auto before = deviceId().get();
  stopServices();
  abandonInsertions();  // or one would write its outcome into the new device's journal
  const auto forgotten =
      LocalReset(parts_.secrets.store, parts_.storage.defaults, parts_.storage.folder).run(peerStore_, onboarding_);
  loadIdentityNow();
  Remains remains;
  const bool isNewDevice = !serviceLocation_ || (deviceId().get() && deviceId().get() != before);
  if (!forgotten.keys || !isNewDevice) remains.emplace_back("its keys");
  if (!forgotten.peers) remains.emplace_back("its paired iPhones");
  if (!forgotten.journal) remains.emplace_back("what it inserted");
  return remains;
}

}  // namespace quillet
