// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "QuilletCompanion/App/PairingViewModel.h"
#include "QuilletCompanion/App/UserDefaults.h"
#include "QuilletCompanion/Relay/InsertionJournal.h"
#include "QuilletCompanion/Relay/PeerStore.h"
#include "QuilletCompanion/Relay/RelayConnection.h"
#include "QuilletCompanion/Relay/RelayMessageHandler.h"
#include "QuilletCompanion/Target/LocalTestField.h"
#include "QuilletCompanion/Target/ScreenLockMonitor.h"
#include "QuilletCompanion/Target/TargetGuard.h"
#include "QuilletCompanion/Target/TextInserter.h"
#include "QuilletKit/APIClient.h"
#include "QuilletKit/SecretStore.h"

namespace quillet {

enum class ConnectionStatus { connected, reconnecting, offline };
std::string_view rawValue(ConnectionStatus value);

/// Names the application's folders and its items in secret stores.
inline constexpr std::string_view kBundleIdentifier = "com.fernhollow.quillet.mac";
/// Where the service is sought when nothing else is configured: one that runs on this machine.
inline constexpr std::string_view kDefaultServiceURL = "http://127.0.0.1:8787";

/// What the model is built from. References outlive the model.
struct AppModelParts {
  Executor mainThread;
  TimeSource time;
  AccessibilityProvider& provider;
  ScreenLockMonitor& lockMonitor;
  SystemEvents& systemEvents;
  SecretStore& secretStore;
  UserDefaults& defaults;
  HTTPSession& session;
  std::optional<std::filesystem::path> supportFolder;
  std::string hostName;
  std::string appVersion;  ///< As registered with the service, "0.1.0 (0)" for example.
  std::optional<std::string> bundleServiceURL;
  std::function<std::optional<DeviceKind>()> deviceKind;
  std::function<double()> jitter = &Backoff::drawJitter;
};

/// The one long-lived owner of all services: start-up order, registration, wiring. Main thread only. Held by a
/// shared_ptr, since callbacks hold it weakly.
class AppModel final : public RelayEventSink, public std::enable_shared_from_this<AppModel> {
 public:
  struct Offline {
    std::int64_t retryAt = 0;  ///< Milliseconds since 1970.
    bool operator==(const Offline&) const = default;
  };
  struct Failed {
    std::string message;
    bool operator==(const Failed&) const = default;
  };
  enum class Step { notStarted, registering, registered, revoked };
  using Registration = std::variant<Offline, Failed, Step>;

  struct Readiness {
    ReadinessState state = ReadinessState::noField;
    std::optional<std::string> appName, fieldLabel;
    bool operator==(const Readiness&) const = default;
  };

  explicit AppModel(AppModelParts parts);
  ~AppModel() override;

  Observable<std::string> macName;
  Observable<Registration> registration{Step::notStarted};
  Observable<bool> axTrusted{false};
  Observable<std::vector<PairSummary>> serverPairs;
  Observable<std::optional<std::string>> startupError;
  Observable<Readiness> readiness;
  Observable<std::optional<std::string>> deviceId;
  /// Steps up whenever `connection` appears or goes away.
  Observable<int> wiringGeneration{0};
  /// Names the phone whose words were inserted last; called once for each insertion.
  std::function<void(const std::string& phoneName)> onInsertion;

  void start();
  ConnectionStatus connectionStatus() const;
  /// Absent without services. The view model must not outlive the main executor.
  std::unique_ptr<PairingViewModel> makePairingViewModel();
  void refreshAccessibilityTrust();
  void scheduleReadiness();
  void publishReadiness(std::optional<ReadinessState> forced = std::nullopt);
  /// Milliseconds since 1970, as the service told last.
  std::optional<std::int64_t> lastSeen(const std::string& peerDeviceId) const;
  void stopServices();
  /// Whether, after a stop, an insertion is still running; its outcome is then yet to be journalled.
  bool isFinishing() const { return !lastHandler_.expired(); }

  /// The desktop's focus moved inside the front application (the element that a notification named, if any), or another
  /// window came to the front.
  void focusChanged(const ElementRef& element);
  void frontWindowChanged();

  PeerStore& peerStore() { return peerStore_; }
  LocalTestField& localTest() { return *localTest_; }
  RelayConnection* connection() const { return connection_.get(); }
  /// Override, then bundle, then the default.
  ServiceURL serviceLocation() const;

  void peerRevoked(const std::string& deviceId) override;
  void peerPaired() override;
  void insertionSucceeded(const std::string& phoneName) override;

 private:
  void loadIdentity();
  void wireServices(DeviceIdentity identity);
  void wireConnection();
  void startRegistration(int refusals = 0);
  Awaitable<void> registrationLoop(Task::Token token, std::shared_ptr<APIClient> api, int refusals);
  Awaitable<void> waitBeforeRetry(Backoff& backoff);
  void registered();
  void startHeartbeat();
  void startTrustPolling();
  void invalidateFocus();
  void wake();
  void authenticationRejected();
  void storePeer(const PeerIdentity& identity);
  void startUpkeep();
  Awaitable<void> flushPending(std::shared_ptr<APIClient> api);
  Awaitable<void> reconcilePairs(std::shared_ptr<APIClient> api);
  void dropUnlistedPeers(const std::vector<PairSummary>& listed);
  bool isRegistered() const { return registration.get() == Registration(Step::registered); }

  AppModelParts parts_;
  std::shared_ptr<LocalTestField> localTest_;
  PeerStore peerStore_;

  std::optional<DeviceIdentity> identity_;
  std::shared_ptr<APIClient> api_;
  std::unique_ptr<InsertionJournal> journal_;
  std::unique_ptr<TargetGuard> targetGuard_;
  std::unique_ptr<TextInserter> inserter_;
  std::shared_ptr<RelayConnection> connection_;
  std::shared_ptr<RelayMessageHandler> handler_;
  std::weak_ptr<RelayMessageHandler> lastHandler_;
  /// Services of an earlier identity, kept for what was suspended in them when they were replaced.
  std::vector<std::shared_ptr<void>> retired_;

  Task registrationTask_, readinessTask_, heartbeatTask_, trustTask_, upkeepTask_;
  std::unique_ptr<SystemEvents::Observation> sleepObservation_;
  int refusals_ = 0;  ///< Refused sockets since the last proved one.
  bool started_ = false;
};

}  // namespace quillet
