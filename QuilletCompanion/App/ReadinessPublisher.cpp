// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/ReadinessPublisher.h"

#include "QuilletCompanion/Relay/PresenceBuilder.h"

namespace quillet {
namespace {

constexpr auto kDebounce = std::chrono::milliseconds(300);
constexpr auto kHeartbeatPeriod = std::chrono::seconds(30);

Readiness readinessFrom(const ProbeResult& probe) {
  if (const auto* target = std::get_if<CapturedTarget>(&probe)) {
    return {ReadinessState::ready, target->appName, target->fieldLabel};
  }
  const auto& refusal = std::get<TargetRefusal>(probe);
  switch (refusal.reason) {
    case RefusalReason::locked:
      return {ReadinessState::locked, std::nullopt, std::nullopt};
    case RefusalReason::noAccessibility:
      return {ReadinessState::noAccessibility, refusal.appName, std::nullopt};
    default:
      return {ReadinessState::noField, refusal.appName, std::nullopt};
  }
}

}  // namespace

ReadinessPublisher::ReadinessPublisher(Executor mainThread, TimeSource time, const PeerStore& peers, Device device)
    : time_(std::move(time)),
      peers_(peers),
      device_(std::move(device)),
      debounce_(mainThread),
      heartbeat_(mainThread) {}

void ReadinessPublisher::attach(TargetGuard& guard, DeviceIdentity identity,
                                std::weak_ptr<RelayConnection> connection) {
  attached_.emplace(guard, std::move(identity), std::move(connection));
  startHeartbeat();
}

void ReadinessPublisher::detach() {
  debounce_.cancel();
  heartbeat_.cancel();
  attached_.reset();
}

void ReadinessPublisher::schedule() {
  debounce_.start([this](Task::Token token) -> Awaitable<void> {
    co_await time_.sleep(kDebounce);
    if (!token.cancelled()) publish();
  });
}

void ReadinessPublisher::startHeartbeat() {
  heartbeat_.start([this](Task::Token token) -> Awaitable<void> {
    for (;;) {
      co_await time_.sleep(kHeartbeatPeriod);
      if (token.cancelled()) co_return;
      publish();
      if (token.cancelled()) co_return;
    }
  });
}

void ReadinessPublisher::publish(std::optional<ReadinessState> forced) {
  if (!attached_) return;
  readiness_.set(readinessFrom(attached_->guard.probe()));
  if (!attached_) return;  // an observer has stopped everything
  const auto connection = attached_->connection.lock();
  if (!connection || !connection->isConnected() || peers_.peers().get().empty()) return;
  std::vector<PeerIdentity> peers;
  for (const auto& peer : peers_.peers().get()) peers.push_back(peer.identity);
  auto updates = PresenceBuilder::seal(payload(forced), attached_->identity, peers);
  if (!updates.empty()) connection->send(RelayClient::Presence{std::move(updates)});
}

ReadinessPayload ReadinessPublisher::payload(std::optional<ReadinessState> forced) const {
  const Readiness& now = readiness_.get();
  ReadinessPayload payload{.macName = device_.name(), .state = forced.value_or(now.state), .at = time_.now()};
  if (const auto kind = device_.kind ? device_.kind() : std::nullopt) payload.deviceKind = rawValue(*kind);
  if (forced) return payload;
  payload.appName = now.appName;
  payload.fieldLabel = now.fieldLabel;
  return payload;
}

}  // namespace quillet
