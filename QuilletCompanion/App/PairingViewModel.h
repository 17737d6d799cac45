// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Base/Observable.h"
#include "QuilletKit/Protocol/APIClient.h"
#include "QuilletKit/Protocol/PairingCrypto.h"

namespace quillet {

/// The state machine of pairing a phone. Session, ephemeral keys and words end with the run that made them. What
/// observes it, and `onPaired`, may call it or destroy it. Main thread only.
class PairingViewModel {
 public:
  struct Invitation {
    std::string sessionId, qrContent, code;
    std::int64_t expiresAt = 0;  ///< Milliseconds since 1970.
    bool operator==(const Invitation&) const = default;
  };
  struct Failure {
    enum class Kind { offline, expired, cancelledByPhone, cancelledHere, verificationFailed, server };
    Kind kind = Kind::offline;
    std::string message;  ///< With `server` only.
    /// The words that people see.
    std::string title() const;
    std::string detail() const;
    std::string symbol() const;
    std::string button() const;
    bool operator==(const Failure&) const = default;
  };
  using Words = std::array<std::string, 4>;
  struct Idle {
    bool operator==(const Idle&) const = default;
  };
  struct Starting {
    bool operator==(const Starting&) const = default;
  };
  struct Verify {
    std::string phoneName;
    Words words;
    bool operator==(const Verify&) const = default;
  };
  struct Confirming {
    std::string phoneName;
    Words words;
    bool operator==(const Confirming&) const = default;
  };
  struct Paired {
    std::string phoneName;
    bool operator==(const Paired&) const = default;
  };
  using Phase = std::variant<Idle, Starting, Invitation, Verify, Confirming, Paired, Failure>;

  /// Gets the id of the phone that claimed a session. What it returns lives while that session may become a pair.
  using OnClaimed = std::function<std::shared_ptr<const void>(const std::string& phoneDeviceId)>;

  /// `api` is kept until the last cancellation of a session has been sent. `onPaired` may throw.
  PairingViewModel(Executor mainThread, std::shared_ptr<PairingAPI> api, DeviceIdentity identity,
                   std::function<std::string()> macName, OnClaimed onClaimed,
                   std::function<void(const PeerIdentity&)> onPaired, TimeSource time);
  ~PairingViewModel();

  Observable<Phase> phase;
  Observable<bool> networkTrouble{false};
  Observable<bool> showCode{false};

  /// A fresh run; what ran before is given up.
  void start();
  /// Does nothing but in `Verify`.
  void confirm();
  /// The user's Cancel button.
  void cancel();
  /// The window went away.
  void stop();
  /// `Failure` for want of the network, and yet on its way to a session.
  bool isRetrying() const;

 private:
  class Run;
  /// What a run needs that it may outlive the view model with.
  struct Parts {
    Executor mainThread;
    std::shared_ptr<PairingAPI> api;
    DeviceIdentity identity;
    std::function<std::string()> macName;
    OnClaimed onClaimed;
    std::function<void(const PeerIdentity&)> onPaired;
    TimeSource time;
  };

  void giveUp();
  void cancelSession();

  const std::shared_ptr<const Parts> parts_;
  std::optional<std::string> currentSessionId_;
  bool confirmRequested_ = false;
  std::optional<Lifetime> wanted_;  ///< Of the present run. Ends before the task does: see `Run`.
  Task task_;
};

}  // namespace quillet
