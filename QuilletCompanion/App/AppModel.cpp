// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/AppModel.h"

#include <algorithm>
#include <cmath>

#include "QuilletCompanion/Relay/PresenceBuilder.h"
#include "QuilletCompanion/Relay/StoredFile.h"
#include "QuilletKit/Log.h"
#include "QuilletKit/Unicode.h"

namespace quillet {
namespace {

constexpr auto kReadinessDebounce = std::chrono::milliseconds(300);
constexpr auto kHeartbeatPeriod = std::chrono::seconds(30);
constexpr auto kTrustPollPeriod = std::chrono::seconds(2);
constexpr std::int64_t kReconcileGraceMilliseconds = 120'000;
constexpr std::size_t kMaximumSocketMessage = 1'048'576;

std::string firstMacName(const UserDefaults& defaults, const std::string& hostName) {
  const std::string chosen = defaults.string("macName").value_or("");
  for (const std::string_view name : {Unicode::trim(chosen), Unicode::trim(hostName)}) {
    if (!name.empty()) return std::string(name);
  }
  return "Mac";
}

std::optional<ServiceURL> acceptableURL(const std::optional<std::string>& text) {
  if (!text) return std::nullopt;
  auto url = ServiceURL::parse(Unicode::trim(*text));
  if (!url || (url->scheme != "http" && url->scheme != "https")) return std::nullopt;
  return url;
}

bool isRevocation(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const APIError& e) {
    return e.server() != nullptr && e.server()->body.code == "device_revoked";
  } catch (...) {
    return false;
  }
}

AppModel::Readiness readinessFrom(const ProbeResult& probe) {
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

std::string_view rawValue(ConnectionStatus value) {
  switch (value) {
    case ConnectionStatus::connected:
      return "connected";
    case ConnectionStatus::reconnecting:
      return "reconnecting";
    case ConnectionStatus::offline:
      return "offline";
  }
  return "offline";
}

AppModel::AppModel(AppModelParts parts)
    : macName(firstMacName(parts.defaults, parts.hostName)),
      axTrusted(parts.provider.isTrusted()),
      parts_(std::move(parts)),
      localTest_(std::make_shared<LocalTestField>([this] { return parts_.provider.isOwnApplicationActive(); },
                                                  parts_.time.now)),
      peerStore_(supportFile(parts_.supportFolder, "peers.json")),
      registrationTask_(parts_.mainThread),
      readinessTask_(parts_.mainThread),
      heartbeatTask_(parts_.mainThread),
      trustTask_(parts_.mainThread),
      upkeepTask_(parts_.mainThread) {}

AppModel::~AppModel() {
  parts_.lockMonitor.onChange = nullptr;
  stopServices();
}

ConnectionStatus AppModel::connectionStatus() const {
  if (registration.get() == Registration(Step::registering)) return ConnectionStatus::reconnecting;
  if (!isRegistered() || !connection_) return ConnectionStatus::offline;
  const auto& state = connection_->state().get();
  if (std::holds_alternative<RelayConnection::Reconnecting>(state)) return ConnectionStatus::reconnecting;
  switch (std::get<RelayConnection::Phase>(state)) {
    case RelayConnection::Phase::connected:
      return ConnectionStatus::connected;
    case RelayConnection::Phase::connecting:
      return ConnectionStatus::reconnecting;
    default:
      return ConnectionStatus::offline;
  }
}

ServiceURL AppModel::serviceLocation() const {
  if (auto url = acceptableURL(parts_.defaults.string("QLTServerURLOverride"))) return *url;
  if (auto url = acceptableURL(parts_.bundleServiceURL)) return *url;
  return *ServiceURL::parse(kDefaultServiceURL);
}

void AppModel::start() {
  if (std::exchange(started_, true)) return;
  auto focusInvalidated = [weak = weak_from_this()] {
    if (const auto self = weak.lock()) {
      self->invalidateFocus();
      self->scheduleReadiness();
    }
  };
  parts_.lockMonitor.onChange = focusInvalidated;
  localTest_->onFocusChange = focusInvalidated;
  auto withSelf = [weak = weak_from_this()](void (AppModel::*operation)()) {
    return [weak, operation] {
      if (const auto self = weak.lock()) ((*self).*operation)();
    };
  };
  sleepObservation_ = parts_.systemEvents.observe(
      {.willSleep = withSelf(&AppModel::invalidateFocus), .didWake = withSelf(&AppModel::wake), .networkPath = {}});
  startTrustPolling();
  loadIdentity();
}

void AppModel::invalidateFocus() {
  if (targetGuard_) targetGuard_->invalidateFocus();
}

void AppModel::focusChanged(const ElementRef& element) {
  if (!targetGuard_) return;
  targetGuard_->focusChanged(element);
  scheduleReadiness();
}

void AppModel::frontWindowChanged() {
  if (!targetGuard_) return;
  targetGuard_->resyncFocus();
  scheduleReadiness();
}

void AppModel::wake() {
  invalidateFocus();
  if (!isRegistered() && registration.get() != Registration(Step::revoked)) startRegistration();
}

void AppModel::loadIdentity() {
  try {
    DeviceIdentity identity = DeviceIdentity::loadOrCreate(parts_.secretStore);
    startupError.set(std::nullopt);
    wireServices(std::move(identity));
  } catch (const std::exception&) {
    Log::error("relay", "Could not load the device identity from Keychain");
    startupError.set("Quillet could not access its key in your Keychain.");
  }
}

void AppModel::wireServices(DeviceIdentity identity) {
  identity_ = std::move(identity);
  deviceId.set(identity_->deviceId());
  api_ = std::make_shared<APIClient>(serviceLocation(), *identity_, parts_.session);
  journal_ = InsertionJournal::openJournal(parts_.supportFolder, parts_.time.now);
  targetGuard_ = std::make_unique<TargetGuard>(parts_.provider, localTest_, parts_.time.now);
  inserter_ = std::make_unique<TextInserter>(parts_.provider, *targetGuard_, InsertionPacing{}, parts_.time);
  wireConnection();
  startHeartbeat();
  startRegistration();
}

void AppModel::wireConnection() {
  connection_ = std::make_shared<RelayConnection>(
      parts_.mainThread, [api = api_] { return api->relayRequest(); },
      [this](HTTPRequest request, std::size_t) {
        return makeWebSocketTask(parts_.session, parts_.mainThread, std::move(request), kMaximumSocketMessage);
      },
      parts_.systemEvents, parts_.time, parts_.jitter);
  handler_ = std::make_shared<RelayMessageHandler>(parts_.mainThread, *identity_, peerStore_, *targetGuard_, *journal_,
                                                   *inserter_, parts_.time.now);
  handler_->setTransport(connection_);
  handler_->setEvents(weak_from_this());
  const auto weak = weak_from_this();
  connection_->onMessage = [weak](const RelayServerMessage& message) {
    if (const auto self = weak.lock(); self && self->handler_) self->handler_->handle(message);
  };
  connection_->onConnected = [weak] {
    if (const auto self = weak.lock()) {
      self->refusals_ = 0;
      self->publishReadiness();
      self->startUpkeep();
    }
  };
  connection_->onWillSleep = [weak] {
    if (const auto self = weak.lock()) self->publishReadiness(ReadinessState::asleep);
  };
  connection_->onAuthenticationRejected = [weak] {
    if (const auto self = weak.lock()) self->authenticationRejected();
  };
  wiringGeneration.set(wiringGeneration.get() + 1);
}

void AppModel::authenticationRejected() {
  if (!api_) return;
  ++refusals_;
  startRegistration(refusals_);
}

void AppModel::startRegistration(int refusals) {
  if (!api_) return;
  registrationTask_.start([self = weak_from_this(), api = api_, refusals](Task::Token token) -> Awaitable<void> {
    if (const auto strong = self.lock()) co_await strong->registrationLoop(token, api, refusals);
  });
}

Awaitable<void> AppModel::waitBeforeRetry(Backoff& backoff) {
  const auto delay = std::chrono::milliseconds(std::llround(backoff.nextDelay(parts_.jitter()) * 1000.0));
  registration.set(Offline{parts_.time.now() + delay.count()});
  co_await parts_.time.sleep(delay);
}

// A service that registers this device and goes on refusing its socket would otherwise be asked at network speed: from
// the second refusal in a row the registration waits first.
Awaitable<void> AppModel::registrationLoop(Task::Token token, std::shared_ptr<APIClient> api, int refusals) {
  Backoff backoff{.base = 2.0};
  if (refusals > 1) {
    backoff.attempt = refusals - 2;
    co_await waitBeforeRetry(backoff);
    backoff.attempt = 0;
  }
  while (!token.cancelled()) {
    registration.set(Step::registering);
    std::exception_ptr error;
    try {
      co_await api->registerDevice(DevicePlatform::macos, macName.get(), parts_.appVersion);
    } catch (...) {
      error = std::current_exception();
    }
    if (token.cancelled() || isCancellation(error)) co_return;
    if (!error) {
      registered();
      co_return;
    }
    if (isRevocation(error)) {
      registration.set(Step::revoked);
      connection_->stop();
      co_return;
    }
    co_await waitBeforeRetry(backoff);
  }
}

void AppModel::registered() {
  registration.set(Step::registered);
  Log::info("relay", "Registered with the server");
  if (connection_->state().get() == RelayConnection::State(RelayConnection::Phase::stopped)) {
    connection_->start();
  } else {
    connection_->reconnectNow();
  }
  startUpkeep();
}

void AppModel::startUpkeep() {
  upkeepTask_.start([self = weak_from_this(), api = api_]() -> Awaitable<void> {
    const auto strong = self.lock();
    if (!strong || !api) co_return;
    co_await strong->flushPending(api);
    co_await strong->reconcilePairs(api);
  });
}

// The one retry path of what the service has yet to hear.
Awaitable<void> AppModel::flushPending(std::shared_ptr<APIClient> api) {
  if (!isRegistered()) co_return;
  for (const auto& id : parts_.defaults.strings("pendingRevocations")) {
    bool done = false;
    try {
      co_await api->removePair(id);
      done = true;
    } catch (const APIError& error) {
      done = error.server() != nullptr && (error.server()->status == 403 || error.server()->status == 404);
    }
    if (!done) continue;
    boost::json::array left;
    for (const auto& other : parts_.defaults.strings("pendingRevocations")) {
      if (other != id) left.emplace_back(other);
    }
    parts_.defaults.set("pendingRevocations", std::move(left));
  }
}

Awaitable<void> AppModel::reconcilePairs(std::shared_ptr<APIClient> api) {
  if (!isRegistered()) co_return;
  try {
    const PairsResponse answer = co_await api->pairs();
    serverPairs.set(answer.pairs);
    dropUnlistedPeers(answer.pairs);
  } catch (const APIError&) {
    co_return;  // the next registration or relay connect asks again
  }
}

void AppModel::dropUnlistedPeers(const std::vector<PairSummary>& listed) {
  const auto known = peerStore_.peers().get();
  for (const auto& peer : known) {
    const bool isListed = std::any_of(listed.begin(), listed.end(), [&](const PairSummary& pair) {
      return pair.peerDeviceId == peer.identity.deviceId;
    });
    if (isListed || parts_.time.now() - peer.pairedAt <= kReconcileGraceMilliseconds) continue;
    if (targetGuard_) targetGuard_->dropTokens(peer.identity.deviceId);
    try {
      peerStore_.remove(peer.identity.deviceId);
    } catch (const std::exception&) {
      continue;  // gone from memory, which is what deliveries look at
    }
  }
}

void AppModel::startTrustPolling() {
  trustTask_.start([self = weak_from_this(), sleep = parts_.time.sleep]() -> Awaitable<void> {
    for (;;) {
      if (const auto strong = self.lock()) {
        strong->refreshAccessibilityTrust();
      } else {
        co_return;
      }
      co_await sleep(kTrustPollPeriod);
    }
  });
}

void AppModel::refreshAccessibilityTrust() {
  const bool trusted = parts_.provider.isTrusted();
  if (trusted == axTrusted.get()) return;
  axTrusted.set(trusted);
  scheduleReadiness();
}

void AppModel::scheduleReadiness() {
  readinessTask_.start([self = weak_from_this(), sleep = parts_.time.sleep]() -> Awaitable<void> {
    co_await sleep(kReadinessDebounce);
    if (const auto strong = self.lock()) strong->publishReadiness();
  });
}

void AppModel::startHeartbeat() {
  heartbeatTask_.start([self = weak_from_this(), sleep = parts_.time.sleep]() -> Awaitable<void> {
    for (;;) {
      co_await sleep(kHeartbeatPeriod);
      if (const auto strong = self.lock()) strong->publishReadiness();
    }
  });
}

void AppModel::publishReadiness(std::optional<ReadinessState> forced) {
  if (!targetGuard_ || !identity_) return;
  readiness.set(readinessFrom(targetGuard_->probe()));
  if (!connection_ || !connection_->isConnected() || peerStore_.peers().get().empty()) return;
  ReadinessPayload payload{.macName = macName.get(), .state = readiness.get().state, .at = parts_.time.now()};
  if (const auto kind = parts_.deviceKind ? parts_.deviceKind() : std::nullopt) payload.deviceKind = rawValue(*kind);
  if (forced) {
    payload.state = *forced;
  } else {
    payload.appName = readiness.get().appName;
    payload.fieldLabel = readiness.get().fieldLabel;
  }
  std::vector<PeerIdentity> peers;
  for (const auto& peer : peerStore_.peers().get()) peers.push_back(peer.identity);
  auto updates = PresenceBuilder::seal(payload, *identity_, peers);
  if (!updates.empty()) connection_->send(RelayClient::Presence{std::move(updates)});
}

std::optional<std::int64_t> AppModel::lastSeen(const std::string& peerDeviceId) const {
  for (const auto& pair : serverPairs.get()) {
    if (pair.peerDeviceId == peerDeviceId) return pair.peerLastSeenAt;
  }
  return std::nullopt;
}

std::unique_ptr<PairingViewModel> AppModel::makePairingViewModel() {
  if (!api_ || !identity_) return nullptr;
  const auto weak = weak_from_this();
  return std::make_unique<PairingViewModel>(
      parts_.mainThread, *api_, *identity_,
      [weak, fallback = parts_.hostName] {
        const auto self = weak.lock();
        return self ? self->macName.get() : fallback;
      },
      [weak](const PeerIdentity& identity) {
        if (const auto self = weak.lock()) self->storePeer(identity);
      },
      parts_.time);
}

void AppModel::storePeer(const PeerIdentity& identity) {
  peerStore_.upsert(identity, parts_.time.now());
  publishReadiness();
  startUpkeep();
}

void AppModel::stopServices() {
  registrationTask_.cancel();
  readinessTask_.cancel();
  heartbeatTask_.cancel();
  upkeepTask_.cancel();
  if (connection_) connection_->stop();
  lastHandler_ = handler_;
  handler_.reset();
  retired_.insert(retired_.end(),
                  {api_, std::shared_ptr<void>(std::move(targetGuard_)), std::shared_ptr<void>(std::move(inserter_)),
                   std::shared_ptr<void>(std::move(journal_))});
  api_.reset();
  connection_.reset();
  identity_.reset();
  deviceId.set(std::nullopt);
  wiringGeneration.set(wiringGeneration.get() + 1);
  registration.set(Step::notStarted);
  serverPairs.set({});
}

void AppModel::peerRevoked(const std::string& id) {
  auto pairs = serverPairs.get();
  std::erase_if(pairs, [&](const PairSummary& pair) { return pair.peerDeviceId == id; });
  serverPairs.set(std::move(pairs));
}

void AppModel::peerPaired() {
  startUpkeep();
}

void AppModel::insertionSucceeded(const std::string& phoneName) {
  if (onInsertion) onInsertion(phoneName);
  scheduleReadiness();
}

}  // namespace quillet
