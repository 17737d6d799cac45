// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "QuilletCompanion/App/AppModelParts.h"
#include "QuilletCompanion/App/ConnectionStatus.h"
#include "QuilletCompanion/App/DeviceUpkeep.h"
#include "QuilletCompanion/App/HealthCheck.h"
#include "QuilletCompanion/App/Onboarding.h"
#include "QuilletCompanion/App/PairingViewModel.h"
#include "QuilletCompanion/App/ReadinessPublisher.h"
#include "QuilletCompanion/App/RegistrationLoop.h"
#include "QuilletCompanion/App/ServiceLocation.h"
#include "QuilletCompanion/App/Services.h"
#include "QuilletCompanion/Dictation/DictationFeature.h"
#include "QuilletCompanion/Relay/PeerStore.h"
#include "QuilletCompanion/Target/LocalTestField.h"
#include "QuilletKit/Words/WordStatsStore.h"

namespace quillet {

/// The cloud data could not be deleted; nothing has changed. what() is for people.
struct DeletionError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The one long-lived owner of all services, and what every front end observes: it decides in which order they come up,
/// wires them, and tells the parts of the desktop's life (sleep, lock, trust) to those that they concern. Registration,
/// readiness, upkeep, health and onboarding are objects of their own behind it. Main thread only. Held by a shared_ptr,
/// since callbacks hold it weakly; suspending operations keep it alive until they end.
class AppModel final : public RelayEventSink, public std::enable_shared_from_this<AppModel> {
 public:
  using Registration = RegistrationLoop::State;
  using ConnectionRef = std::shared_ptr<RelayConnection>;

  explicit AppModel(AppModelParts parts);
  ~AppModel() override;

  /// A second call does nothing.
  void start();
  /// Ends everything that reaches the service. An insertion that runs goes on to its end.
  void stopServices();
  /// Whether, after a stop, an insertion is still running; its outcome is then yet to be journalled.
  bool isFinishing() const;
  /// After `stopServices`: what is still being inserted ends at its next step. Its outcome is never written down, so
  /// that a later start tells it as uncertain.
  void abandonInsertions();

  // What front ends observe.
  const Observable<std::string>& macName() const { return upkeep_.macName(); }
  const Observable<bool>& onboardingCompleted() const { return onboarding_.completed(); }
  const Observable<OnboardingStep>& onboardingStep() const { return onboarding_.step(); }
  const Observable<bool>& launchAtLogin() const { return launchAtLogin_; }
  const Observable<Registration>& registration() const { return registration_.state(); }
  const Observable<bool>& axTrusted() const { return axTrusted_; }
  const Observable<bool>& axNeedsRestart() const { return axNeedsRestart_; }
  const Observable<std::vector<PairSummary>>& serverPairs() const { return upkeep_.serverPairs(); }
  const Observable<HealthState>& health() const { return health_.state(); }
  const Observable<std::optional<std::string>>& startupError() const { return startupError_; }
  const Observable<Readiness>& readiness() const { return readiness_.readiness(); }
  /// Null while no services are wired.
  const Observable<ConnectionRef>& connection() const { return connection_; }
  /// Told last, when everything is there that comes with it.
  const Observable<std::optional<std::string>>& deviceId() const { return deviceId_; }
  /// Derived from registration and relay.
  const Observable<ConnectionStatus>& connectionStatus() const { return connectionStatus_; }

  /// Once for each insertion, with the name of the phone whose words they were.
  const Signal<std::string>& inserted() const { return inserted_; }
  /// The user is to be shown how to let this program type.
  const Signal<>& accessibilityHelpWanted() const { return accessibilityHelpWanted_; }

  /// Sets the name, cut to 64 characters, here, for phones and, when it can be reached, at the service. False, and
  /// nothing done, for an empty or the present name.
  bool rename(std::string_view name);
  /// What this device is called until the user names it.
  std::string fallbackName() const;
  /// Whether the settings that were made so far outlast this run.
  bool areSettingsSaved() const { return parts_.storage.defaults.isSaved(); }
  void setLaunchAtLogin(bool enabled);
  void setOnboardingStep(OnboardingStep step) { onboarding_.setStep(step); }
  void completeOnboarding() { onboarding_.complete(); }
  /// Null without services. The view model must not outlive the main executor.
  std::unique_ptr<PairingViewModel> makePairingViewModel();
  /// The phone can't deliver any more when this is called; true if the service knows, too.
  Awaitable<bool> revoke(std::string peerDeviceId);
  /// Milliseconds since 1970, as the service told last.
  std::optional<std::int64_t> lastSeen(const std::string& peerDeviceId) const;
  void retryConnection();
  Awaitable<void> checkHealth();
  /// Throws APIError. The texts are sent as they stand.
  Awaitable<void> sendFeedback(std::string message, std::optional<std::string> replyTo);
  /// What a reset could not forget, in words for people: "its keys", for example. Empty after a full one.
  using Remains = std::vector<std::string>;
  /// Deletes this device at the service, then resets it. Throws DeletionError, or what else went wrong; nothing has
  /// changed then.
  Awaitable<Remains> deleteCloudData();
  /// Forgets identity, peers, journal and set-up, and begins as a new device. The name and the settings stay.
  Remains resetLocal();
  void requestAccessibility();
  void refreshAccessibilityTrust();
  void restartApp();
  /// This application came to the front: what the user may have changed elsewhere is looked at again.
  void becameActive();
  /// The process is about to end: others' sound is back when this returns.
  void willEnd() { dictation_.willEnd(); }
  void scheduleReadiness() { readiness_.schedule(); }
  void publishReadiness(std::optional<ReadinessState> forced = std::nullopt) { readiness_.publish(forced); }

  const PeerStore& peerStore() const { return peerStore_; }
  LocalTestField& localTest() { return *localTest_; }
  DictationFeature& dictation() { return dictation_; }
  WordStatsStore& wordStats() { return wordStats_; }
  const std::string& appVersion() const { return parts_.appVersion; }
  /// As it was at the start; absent where it can't be used, which `startupError` tells.
  const std::optional<ServiceURL>& serviceLocation() const { return serviceLocation_; }

  void peerRevoked(const std::string& deviceId) override { upkeep_.dropPair(deviceId); }
  void peerPaired() override { upkeep_.reconcilePairs(); }
  void insertionSucceeded(const std::string& phoneName) override;

 private:
  void observeSelf();
  void startDictation();
  void wireDictation(const std::shared_ptr<APIClient>& api);
  void loadIdentity();
  void loadIdentityNow();
  Awaitable<void> awaitIdentity(Task::Token token);
  void haveIdentity(std::optional<DeviceIdentity> identity);
  void wireServices(DeviceIdentity identity);
  void watchJournal(const InsertionJournal& journal);
  void listenTo(RelayConnection& connection);
  void startRegistration(int refusals = 0);
  void registered();
  void refused();
  void connected();
  void startTrustPolling();
  void invalidateFocus();
  void wake();
  void storePeer(const PeerIdentity& identity);
  void upkeepAll();
  void updateConnectionStatus();
  template <typename... Arguments>
  std::function<void(Arguments...)> weakly(void (AppModel::*operation)(Arguments...));

  AppModelParts parts_;
  const std::optional<ServiceURL> serviceLocation_;
  std::shared_ptr<LocalTestField> localTest_;
  PeerStore peerStore_;
  RegistrationLoop registration_;
  DeviceUpkeep upkeep_;
  ReadinessPublisher readiness_;
  HealthCheck health_;
  Onboarding onboarding_;
  Observable<bool> launchAtLogin_, axTrusted_, axNeedsRestart_{false};
  Observable<std::optional<std::string>> startupError_, deviceId_;
  Observable<ConnectionRef> connection_;
  Observable<ConnectionStatus> connectionStatus_{ConnectionStatus::offline};
  Signal<std::string> inserted_;
  Signal<> accessibilityHelpWanted_;
  DictationFeature dictation_;
  WordStatsStore wordStats_;

  std::shared_ptr<Services> services_;                   ///< Null without an identity.
  std::vector<std::weak_ptr<Services>> formerServices_;  ///< Alive while an insertion runs that they began.

  Task trustTask_, identityTask_;
  std::unique_ptr<SystemEvents::Observation> systemObservation_;
  Observable<Registration>::Subscription registrationWatch_;
  Observable<ConnectionRef>::Subscription connectionWatch_;
  Observable<JournalTrouble>::Subscription journalWatch_;
  Observable<RelayConnection::State>::Subscription relayWatch_;
  int refusals_ = 0;                      ///< Refused sockets since the last proved one.
  bool provedSinceRegistration_ = false;  ///< A socket was, since the registration that runs began.
  bool awaitsIdentity_ = false;           ///< The last attempt to load it failed.
  bool started_ = false;
  bool didPromptForAccessibility_ = false;
};

}  // namespace quillet
