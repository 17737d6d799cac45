// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <type_traits>
#include <vector>

#include "QuilletCompanion/App/HealthCheck.h"
#include "QuilletCompanion/App/ReadinessPublisher.h"
#include "QuilletCompanion/App/RegistrationLoop.h"

namespace quillet {

/// The one value that stands for "does it work".
enum class ConnectionStatus { connected, reconnecting, offline };
constexpr auto rawNames(std::type_identity<ConnectionStatus>) {
  return rawTable<3>({"connected", "reconnecting", "offline"});
}

/// `connection` is null while there are no services.
ConnectionStatus connectionStatus(const RegistrationLoop::State& registration, const RelayConnection* connection);

/// "Connected", "Reconnecting" or "Offline".
std::string statusWord(ConnectionStatus status);
/// The line under the device's name: what would happen to a text now.
std::string statusLine(ConnectionStatus status, const Readiness& readiness);

/// One link of the chain from a phone to a field.
struct ConnectionCheckRow {
  enum class State { good, warning, bad, pending };
  std::string title;
  State state = State::pending;
  std::string detail;
  bool operator==(const ConnectionCheckRow&) const = default;
};
constexpr auto rawNames(std::type_identity<ConnectionCheckRow::State>) {
  return rawTable<4>({"good", "warning", "bad", "pending"});
}
std::vector<ConnectionCheckRow> connectionCheckRows(HealthState health, ConnectionStatus status, bool axTrusted,
                                                    std::size_t peers);

}  // namespace quillet
