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

/// The state machine of pairing a phone. Owns nothing that outlives it: session, ephemeral keys and words end with it.
/// What observes it, and `onPaired`, may call it or destroy it. Main thread only.
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

  /// `api` is kept until the last cancellation of a session has been sent. `onPaired` may throw.
  PairingViewModel(Executor mainThread, std::shared_ptr<PairingAPI> api, DeviceIdentity identity,
                   std::function<std::string()> macName, std::function<void(const PeerIdentity&)> onPaired,
                   TimeSource time);
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
  struct Session;

  Awaitable<void> run(std::weak_ptr<const bool> wanted);
  Awaitable<std::optional<Session>> create(std::weak_ptr<const bool> wanted);
  Awaitable<std::optional<PairingStatus>> waitForClaim(Session& session, bool& renew);
  void show(const Session& session);
  void takeWords(Session& session, const PairingStatus& status) const;
  Awaitable<bool> verify(const Session& session);
  Awaitable<std::optional<PairingStatus>> confirmAtService(const Session& session);
  Awaitable<void> finalWait(const Session& session, PairingStatus status);
  void finish(const Session& session, const std::string& sealedIdentity);

  void fail(Failure failure);
  void failAndCancelSession(Failure failure);
  bool endedElsewhere(PairingState state);
  void giveUp();
  void cancelSession();

  Executor mainThread_;
  std::shared_ptr<PairingAPI> api_;
  DeviceIdentity identity_;
  std::function<std::string()> macName_;
  std::function<void(const PeerIdentity&)> onPaired_;
  TimeSource time_;
  std::optional<std::string> currentSessionId_;
  bool confirmRequested_ = false;
  std::shared_ptr<const bool> wanted_;  ///< Lives while the present run is wanted.
  Task task_;
};

}  // namespace quillet
