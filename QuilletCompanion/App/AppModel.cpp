// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/AppModel.h"

#include "QuilletCompanion/Relay/StoredFile.h"
#include "QuilletKit/Async/RunOn.h"
#include "QuilletKit/Base/Log.h"
#include "QuilletKit/Base/Unicode.h"

namespace quillet {
namespace {

constexpr auto kTrustPollPeriod = std::chrono::seconds(2);
constexpr double kFirstIdentityWait = 4.0;

/// Trimmed, and as long as a name may be; empty for what can't be sent to anyone.
std::string usableName(std::string_view name) {
  return Unicode::isValidUTF8(name) ? DeviceUpkeep::cutName(name) : std::string();
}

std::string fallbackNameFrom(const std::string& hostName) {
  const std::string name = usableName(hostName);
  return name.empty() ? "Mac" : name;
}

std::string firstMacName(const AppModelParts& parts) {
  const std::string chosen = usableName(parts.storage.defaults.string("macName").value_or(""));
  return chosen.empty() ? fallbackNameFrom(parts.machine.hostName) : chosen;
}

/// How this device is drawn among those whose words are counted.
std::string symbolFor(const AppModelParts& parts) {
  switch ((parts.machine.kind ? parts.machine.kind() : std::nullopt).value_or(DeviceKind::macBook)) {
    case DeviceKind::iMac:
      return "desktopcomputer";
    case DeviceKind::macMini:
      return "macmini";
    case DeviceKind::macStudio:
      return "macstudio";
    case DeviceKind::macPro:
      return "macpro.gen3";
    default:
      return "laptopcomputer";
  }
}

/// For people; nothing while all is well.
std::optional<std::string> journalTroubleText(JournalTrouble trouble) {
  switch (trouble) {
    case JournalTrouble::none:
      return std::nullopt;
    case JournalTrouble::noFolder:
      return "Quillet has no folder to note in what it inserts, so it inserts nothing from iPhones.";
    case JournalTrouble::unreadable:
      return "Quillet can't read what it inserted earlier, so it inserts nothing from iPhones. See that its data "
             "folder can be read.";
    case JournalTrouble::unwritable:
      return "Quillet can't note what it inserts, so it inserts nothing from iPhones. See that its data folder can be "
             "written and that the disk isn't full.";
  }
  return std::nullopt;
}

DictationParts dictationParts(const AppModelParts& parts) {
  return {.mainThread = parts.mainThread,
          .time = parts.time,
          .store = parts.storage.defaults,
          .platform = parts.dictation,
          .makeSocket = [&session = parts.network.session, mainThread = parts.mainThread](
                            HTTPRequest request, std::size_t maximumMessageSize) {
            return makeWebSocketTask(session, mainThread, std::move(request), maximumMessageSize);
          }};
}

std::optional<DeviceIdentity> loaded(SecretStore& store) {
  try {
    return DeviceIdentity::loadOrCreate(store);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

Awaitable<std::optional<DeviceIdentity>> loadedFrom(SecretStore& store) {
  co_return loaded(store);
}

}  // namespace

AppModel::AppModel(AppModelParts parts)
    : parts_(std::move(parts)),
      serviceLocation_(quillet::serviceLocation(parts_.storage.defaults, parts_.network.bundleServiceURL)),
      localTest_(std::make_shared<LocalTestField>(
          [this] { return parts_.accessibility.provider.isOwnApplicationActive(); }, parts_.time.now)),
      peerStore_(supportFile(parts_.storage.folder, "peers.json")),
      registration_(
          parts_.mainThread, parts_.time, parts_.network.jitter, [this] { return macName().get(); }, parts_.appVersion),
      upkeep_(parts_.mainThread, parts_.time.now, firstMacName(parts_), parts_.storage.defaults, peerStore_,
              registration_),
      readiness_(parts_.mainThread, parts_.time, peerStore_,
                 {.name = [this] { return macName().get(); }, .kind = parts_.machine.kind}),
      health_(parts_.network.session),
      onboarding_(parts_.storage.defaults),
      launchAtLogin_(parts_.desktop.loginItem.isEnabled()),
      axTrusted_(parts_.accessibility.provider.isTrusted()),
      dictation_(dictationParts(parts_)),
      wordStats_(parts_.storage.wordLedgers, parts_.storage.defaults, macName().get(), symbolFor(parts_),
                 std::move(parts_.storage.calendar), parts_.time.now),
      trustTask_(parts_.mainThread),
      identityTask_(parts_.mainThread) {
  observeSelf();
}

AppModel::~AppModel() {
  parts_.desktop.lockMonitor.onChange = nullptr;
  stopServices();
}

void AppModel::observeSelf() {
  registration_.onRegistered = [this] { registered(); };
  registration_.onRevoked = [this] {
    if (const auto connection = connection_.get()) connection->stop();
  };
  // Once registered, the relay is started before anybody looks: see `registered`.
  registrationWatch_ = registration_.state().observe([this](const auto&) {
    if (!registration_.isRegistered()) updateConnectionStatus();
  });
  connectionWatch_ = connection_.observe([this](const ConnectionRef& connection) {
    relayWatch_.reset();
    if (connection) relayWatch_ = connection->state().observe([this](const auto&) { updateConnectionStatus(); });
    updateConnectionStatus();
  });
}

void AppModel::updateConnectionStatus() {
  connectionStatus_.set(quillet::connectionStatus(registration_.state().get(), connection_.get().get()));
}

template <typename... Arguments>
std::function<void(Arguments...)> AppModel::weakly(void (AppModel::*operation)(Arguments...)) {
  return [weak = weak_from_this(), operation](Arguments... arguments) {
    if (const auto self = weak.lock()) ((*self).*operation)(arguments...);
  };
}

std::string AppModel::fallbackName() const {
  return fallbackNameFrom(parts_.machine.hostName);
}

void AppModel::start() {
  if (std::exchange(started_, true)) return;
  const auto focusInvalidated = [weak = weak_from_this()] {
    if (const auto self = weak.lock()) {
      self->invalidateFocus();
      self->scheduleReadiness();
    }
  };
  parts_.desktop.lockMonitor.onChange = focusInvalidated;
  localTest_->onFocusChange = focusInvalidated;
  systemObservation_ = parts_.desktop.events.observe(
      {.willSleep = weakly(&AppModel::invalidateFocus), .didWake = weakly(&AppModel::wake), .networkPath = {}});
  startTrustPolling();
  loadIdentity();
  startDictation();
}

void AppModel::invalidateFocus() {
  if (services_) services_->targetGuard.invalidateFocus();
}

void AppModel::wake() {
  invalidateFocus();
  if (awaitsIdentity_) return loadIdentity();
  if (!registration_.isRegistered() && !registration_.isRevoked()) startRegistration();
}

void AppModel::loadIdentity() {
  if (!serviceLocation_) return startupError_.set(std::string(kServiceLocationProblem));
  identityTask_.start([this](Task::Token token) { return awaitIdentity(token); });
}

// A keyring may be locked, or not up yet, and open at any time.
Awaitable<void> AppModel::awaitIdentity(Task::Token token) {
  Backoff backoff{.base = kFirstIdentityWait};
  for (;;) {
    auto identity = co_await runOn(parts_.secrets.thread, loadedFrom(parts_.secrets.store));
    if (token.cancelled()) co_return;
    const bool loaded = identity.has_value();
    haveIdentity(std::move(identity));
    if (loaded || token.cancelled()) co_return;
    co_await parts_.time.sleep(
        std::chrono::milliseconds(static_cast<int>(backoff.nextDelay(parts_.network.jitter()) * 1000)));
    if (token.cancelled()) co_return;
  }
}

void AppModel::loadIdentityNow() {
  identityTask_.cancel();
  if (!serviceLocation_) return startupError_.set(std::string(kServiceLocationProblem));
  haveIdentity(loaded(parts_.secrets.store));
}

void AppModel::haveIdentity(std::optional<DeviceIdentity> identity) {
  const bool failedBefore = std::exchange(awaitsIdentity_, !identity);
  if (!identity) {
    if (!failedBefore) Log::error("relay", "Could not load the device identity from Keychain");
    return startupError_.set("Quillet could not access its key in your Keychain.");
  }
  startupError_.set(std::nullopt);
  wireServices(std::move(*identity));
}

void AppModel::wireServices(DeviceIdentity identity) {
  const auto services = Services::make(parts_, std::move(identity), *serviceLocation_, peerStore_, localTest_,
                                       [this] { scheduleReadiness(); });
  services_ = services;
  wireDictation(services->api);
  watchJournal(*services->journal);
  services->handler->setEvents(weak_from_this());
  listenTo(*services->connection);
  upkeep_.attach(services->api, services->targetGuard);
  services->focusMonitor.start();
  readiness_.attach(services->targetGuard, services->identity, services->connection);
  connection_.set(services->connection);
  startRegistration();
  if (services_ == services) deviceId_.set(services->identity.deviceId());
}

void AppModel::watchJournal(const InsertionJournal& journal) {
  const auto tell = [this](JournalTrouble trouble) { startupError_.set(journalTroubleText(trouble)); };
  journalWatch_ = journal.trouble().observe(tell);
  tell(journal.trouble().get());
}

void AppModel::listenTo(RelayConnection& connection) {
  connection.onConnected = weakly(&AppModel::connected);
  connection.onWillSleep = [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->publishReadiness(ReadinessState::asleep);
  };
  connection.onAuthenticationRejected = weakly(&AppModel::refused);
}

void AppModel::startRegistration(int refusals) {
  provedSinceRegistration_ = false;
  if (services_) registration_.start(services_->api, refusals);
}

void AppModel::registered() {
  const auto services = services_;
  if (!services) return;
  if (services->connection->state().get() == RelayConnection::State(RelayConnection::Phase::stopped)) {
    services->connection->start();
  } else if (!services->connection->isConnected() || !provedSinceRegistration_) {
    services->connection->reconnectNow();
  }
  updateConnectionStatus();
  if (services != services_) return;
  services->journal->prune();  // the service has just accepted our time
  upkeepAll();
}

// A registration that is under way or planned is left alone from the second time on: its own back-off is what counts.
void AppModel::refused() {
  ++refusals_;
  if (refusals_ == 1 || !registration_.isTrying()) startRegistration(refusals_);
}

void AppModel::connected() {
  refusals_ = 0;
  if (registration_.isWaiting()) startRegistration();
  provedSinceRegistration_ = true;
  publishReadiness();
  upkeepAll();
}

void AppModel::upkeepAll() {
  upkeep_.flushPending();
  upkeep_.reconcilePairs();
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
  const bool trusted = parts_.accessibility.provider.isTrusted();
  axNeedsRestart_.set(trusted && parts_.accessibility.isGrantStale && parts_.accessibility.isGrantStale());
  if (trusted == axTrusted_.get()) return;
  axTrusted_.set(trusted);
  if (services_) {
    services_->focusMonitor.detach();
    services_->focusMonitor.refresh();
  }
  dictation_.applyShortcuts();
  scheduleReadiness();
}

void AppModel::requestAccessibility() {
  if (!didPromptForAccessibility_ && !parts_.accessibility.provider.isTrusted()) {
    didPromptForAccessibility_ = true;
    if (parts_.accessibility.prompt) parts_.accessibility.prompt();
  }
  accessibilityHelpWanted_.emit();
}

void AppModel::restartApp() {
  if (parts_.desktop.restart) parts_.desktop.restart();
}

void AppModel::setLaunchAtLogin(bool enabled) {
  parts_.storage.defaults.set("launchAtLoginChosen", true);
  parts_.desktop.loginItem.setEnabled(enabled);
  launchAtLogin_.set(parts_.desktop.loginItem.isEnabled());
}

bool AppModel::rename(std::string_view name) {
  if (!upkeep_.rename(name)) return false;
  wordStats_.name = macName().get();
  publishReadiness();
  upkeep_.flushPending();
  return true;
}

std::unique_ptr<PairingViewModel> AppModel::makePairingViewModel() {
  if (!services_) return nullptr;
  const auto weak = weak_from_this();
  return std::make_unique<PairingViewModel>(
      parts_.mainThread, services_->api, services_->identity,
      [weak, fallback = fallbackName()] {
        const auto self = weak.lock();
        return self ? self->macName().get() : fallback;
      },
      [weak](const std::string& phoneDeviceId) {
        const auto self = weak.lock();
        return self ? self->upkeep_.expectPeer(phoneDeviceId) : nullptr;
      },
      [weak](const PeerIdentity& identity) {
        if (const auto self = weak.lock()) self->storePeer(identity);
      },
      parts_.time);
}

void AppModel::storePeer(const PeerIdentity& identity) {
  peerStore_.upsert(identity, parts_.time.now());
  upkeep_.forgetRevocation(identity.deviceId);
  publishReadiness();
  upkeep_.reconcilePairs();
}

std::optional<std::int64_t> AppModel::lastSeen(const std::string& peerDeviceId) const {
  for (const auto& pair : serverPairs().get()) {
    if (pair.peerDeviceId == peerDeviceId) return pair.peerLastSeenAt;
  }
  return std::nullopt;
}

void AppModel::insertionSucceeded(const std::string& phoneName) {
  inserted_.emit(phoneName);
  scheduleReadiness();
}

}  // namespace quillet
