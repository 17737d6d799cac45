// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuilletCompanion/App/RegistrationLoop.h"
#include "QuilletCompanion/App/UserDefaults.h"
#include "QuilletCompanion/Relay/PeerStore.h"
#include "QuilletCompanion/Target/TargetGuard.h"

namespace quillet {

/// Keeps what the service knows of this device true: its name, and who is paired with it. What the service has yet to
/// hear waits in the user's settings and is sent after every registration and relay connect; failures keep it there.
/// Main thread only.
class DeviceUpkeep {
 public:
  /// `now` in milliseconds since 1970; the references outlive it.
  DeviceUpkeep(Executor mainThread, std::function<std::int64_t()> now, std::string macName, UserDefaults& defaults,
               PeerStore& peers, const RegistrationLoop& registration);

  /// The guard outlives the attachment.
  void attach(std::shared_ptr<APIClient> api, TargetGuard& guard);
  /// Gives up what is under way. What waits goes on waiting.
  void detach();

  /// Trimmed, 64 characters at most. `name` is UTF-8.
  static std::string cutName(std::string_view name);

  /// Keeps the trimmed name, 64 characters of it at most, and notes that the service has to hear of it. False, and
  /// nothing done, for an empty name, the present one, or one that isn't UTF-8.
  bool rename(std::string_view name);
  /// Ends a pairing here at once, and at the service if it can be reached; otherwise later. True if the service knows.
  /// The caller keeps this object alive until it ends.
  Awaitable<bool> revoke(std::string peerDeviceId);
  /// Takes the peer off the service's list as it is known here.
  void dropPair(const std::string& peerDeviceId);

  /// The phone is paired anew: what the service has yet to hear was about the pairing before.
  void forgetRevocation(const std::string& peerDeviceId);

  /// A pairing with this phone is being made: as long as the result lives, the service may list it before it is stored.
  std::shared_ptr<const void> expectPeer(std::string peerDeviceId);

  /// Sends what the service has yet to hear.
  void flushPending();
  /// Fetches the service's list of pairs, and drops the peers that have been missing from it for two minutes. What it
  /// lists and isn't held here was being stored when a process ended: that phone believes in a pairing that can't serve
  /// it, so the service is told to end it.
  void reconcilePairs();

  const Observable<std::string>& macName() const { return macName_; }
  const Observable<std::vector<PairSummary>>& serverPairs() const { return serverPairs_; }

 private:
  struct Attached {
    std::shared_ptr<APIClient> api;
    TargetGuard& guard;
  };
  void work();
  Awaitable<void> workOff(Task::Token token, std::shared_ptr<APIClient> api);
  Awaitable<void> sendName(Task::Token token, std::shared_ptr<APIClient> api);
  Awaitable<void> sendRevocations(Task::Token token, std::shared_ptr<APIClient> api);
  Awaitable<void> fetchPairs(Task::Token token, std::shared_ptr<APIClient> api);
  void dropUnlistedPeers();
  Awaitable<void> endUnheldPairs(Task::Token token, std::shared_ptr<APIClient> api);
  bool isExpected(const std::string& peerDeviceId);
  void forgetPeer(const std::string& peerDeviceId);
  void queueRevocation(const std::string& peerDeviceId);

  std::function<std::int64_t()> now_;
  UserDefaults& defaults_;
  PeerStore& peers_;
  const RegistrationLoop& registration_;
  std::optional<Attached> attached_;
  Observable<std::string> macName_;
  Observable<std::vector<PairSummary>> serverPairs_;
  std::vector<std::weak_ptr<const std::string>> expectedPeers_;
  bool flushWanted_ = false, reconcileWanted_ = false, working_ = false;
  Task task_;
};

}  // namespace quillet
