// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <variant>

#include "QuilletCompanion/Relay/Backoff.h"
#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Base/Observable.h"
#include "QuilletKit/Base/RawValue.h"
#include "QuilletKit/Protocol/APIClient.h"

namespace quillet {

/// Makes this device known to the service, and tries until it is: waits between 1 and 2 seconds after the first
/// failure, up to a minute later on. Main thread only.
class RegistrationLoop {
 public:
  struct Offline {
    std::int64_t retryAt = 0;  ///< Milliseconds since 1970.
    bool operator==(const Offline&) const = default;
  };
  enum class Step { notStarted, registering, registered, revoked /* until the user resets */ };
  using State = std::variant<Offline, Step>;

  /// `name` gives the device's name at each attempt, `jitter` a factor from 0.5 to 1.
  RegistrationLoop(Executor mainThread, TimeSource time, std::function<double()> jitter,
                   std::function<std::string()> name, std::string appVersion);

  std::function<void()> onRegistered;
  std::function<void()> onRevoked;

  /// Replaces what runs, with the back-off at its beginning. `refusals`: how often in a row the service has refused the
  /// socket of a device that it registers. From the second on the loop waits before it asks, as it would otherwise ask
  /// at network speed.
  void start(std::shared_ptr<APIClient> api, int refusals = 0);
  /// Back to `notStarted`.
  void stop();

  const Observable<State>& state() const { return state_; }
  bool isRegistered() const { return state_.get() == State(Step::registered); }
  /// Between two attempts.
  bool isWaiting() const { return std::holds_alternative<Offline>(state_.get()); }
  bool isTrying() const { return isWaiting() || state_.get() == State(Step::registering); }
  bool isRevoked() const { return state_.get() == State(Step::revoked); }

 private:
  Awaitable<void> run(Task::Token token, std::shared_ptr<APIClient> api, int refusals);
  /// What the attempt failed with; null after a success.
  Awaitable<std::exception_ptr> attempt(std::shared_ptr<APIClient> api);
  Awaitable<void> waitBeforeRetry(Backoff& backoff);

  TimeSource time_;
  std::function<double()> jitter_;
  std::function<std::string()> name_;
  std::string appVersion_;
  Observable<State> state_{Step::notStarted};
  Task task_;
};

constexpr auto rawNames(std::type_identity<RegistrationLoop::Step>) {
  return rawTable<4>({"notStarted", "registering", "registered", "revoked"});
}

}  // namespace quillet
