// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "QuilletCompanion/Relay/PeerStore.h"
#include "QuilletCompanion/Relay/RelayConnection.h"
#include "QuilletCompanion/Target/TargetGuard.h"
#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Base/Observable.h"

namespace quillet {

struct Readiness {
  ReadinessState state = ReadinessState::noField;
  std::optional<std::string> appName, fieldLabel;
  bool operator==(const Readiness&) const = default;
};

/// Finds out whether text could go in now, keeps the answer, and tells every paired phone, sealed for each: once after
/// a run of changes, and every half minute. Phones learn this device's name and kind, the state, the application's name
/// and a generic label of the field. Main thread only.
class ReadinessPublisher {
 public:
  struct Device {
    std::function<std::string()> name;
    std::function<std::optional<DeviceKind>()> kind;
  };
  ReadinessPublisher(Executor mainThread, TimeSource time, const PeerStore& peers, Device device);

  /// Starts the heartbeat. The guard outlives the attachment.
  void attach(TargetGuard& guard, DeviceIdentity identity, std::weak_ptr<RelayConnection> connection);
  /// Ends debounce and heartbeat. The last readiness stays.
  void detach();

  /// Publishes when nothing more has changed for 300 ms.
  void schedule();
  /// Publishes now. A forced state goes to the phones alone.
  void publish(std::optional<ReadinessState> forced = std::nullopt);

  const Observable<Readiness>& readiness() const { return readiness_; }

 private:
  struct Attached {
    TargetGuard& guard;
    DeviceIdentity identity;
    std::weak_ptr<RelayConnection> connection;
  };
  void startHeartbeat();
  ReadinessPayload payload(std::optional<ReadinessState> forced) const;

  TimeSource time_;
  const PeerStore& peers_;
  Device device_;
  std::optional<Attached> attached_;
  Observable<Readiness> readiness_;
  Task debounce_, heartbeat_;
};

}  // namespace quillet
