// SPDX-License-Identifier: MIT
#pragma once

#include <type_traits>

#include "QuilletKit/Base/Observable.h"
#include "QuilletKit/Base/RawValue.h"
#include "QuilletKit/Network/HTTPSession.h"

namespace quillet {

enum class HealthState { unknown, checking, reachable, unreachable };
constexpr auto rawNames(std::type_identity<HealthState>) {
  return rawTable<4>({"unknown", "checking", "reachable", "unreachable"});
}

/// Asks the service, unsigned, whether it is well. Main thread only.
class HealthCheck {
 public:
  explicit HealthCheck(HTTPSession& session) : session_(session) {}

  /// Eight seconds at most. True if the service answered as a service that is well does. Of checks that overlap the
  /// newest decides the state. The caller keeps this object alive until it ends.
  Awaitable<bool> check(ServiceURL service);

  const Observable<HealthState>& state() const { return state_; }

 private:
  Awaitable<bool> isWell(ServiceURL service);

  HTTPSession& session_;
  Observable<HealthState> state_{HealthState::unknown};
  int newest_ = 0;
};

}  // namespace quillet
