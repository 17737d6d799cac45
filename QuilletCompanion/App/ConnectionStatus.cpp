// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/ConnectionStatus.h"

namespace quillet {
namespace {

using Row = ConnectionCheckRow;

Row healthRow(HealthState health) {
  switch (health) {
    case HealthState::reachable:
      return {"Quillet service", Row::State::good, "Reachable"};
    case HealthState::unreachable:
      return {"Quillet service", Row::State::bad, "Not reachable. Pairing and typing need internet."};
    default:
      return {"Quillet service", Row::State::pending, "Checking"};
  }
}

Row::State relayState(ConnectionStatus status) {
  switch (status) {
    case ConnectionStatus::connected:
      return Row::State::good;
    case ConnectionStatus::reconnecting:
      return Row::State::warning;
    default:
      return Row::State::bad;
  }
}

std::string inApplication(const std::optional<std::string>& application, const char* text) {
  return application ? *application + " · " + text : text;
}

}  // namespace

ConnectionStatus connectionStatus(const RegistrationLoop::State& registration, const RelayConnection* connection) {
  using Step = RegistrationLoop::Step;
  if (registration == RegistrationLoop::State(Step::registering)) return ConnectionStatus::reconnecting;
  if (registration != RegistrationLoop::State(Step::registered) || connection == nullptr) {
    return ConnectionStatus::offline;
  }
  const auto& relay = connection->state().get();
  if (std::holds_alternative<RelayConnection::Reconnecting>(relay)) return ConnectionStatus::reconnecting;
  switch (std::get<RelayConnection::Phase>(relay)) {
    case RelayConnection::Phase::connected:
      return ConnectionStatus::connected;
    case RelayConnection::Phase::connecting:
      return ConnectionStatus::reconnecting;
    default:
      return ConnectionStatus::offline;
  }
}

std::string statusWord(ConnectionStatus status) {
  switch (status) {
    case ConnectionStatus::connected:
      return "Connected";
    case ConnectionStatus::reconnecting:
      return "Reconnecting";
    default:
      return "Offline";
  }
}

std::string statusLine(ConnectionStatus status, const Readiness& readiness) {
  if (status == ConnectionStatus::reconnecting) return "Reconnecting…";
  if (status == ConnectionStatus::offline) return "Offline";
  switch (readiness.state) {
    case ReadinessState::ready:
      return inApplication(readiness.appName, "Ready");
    case ReadinessState::noField:
      return inApplication(readiness.appName, "No text field");
    case ReadinessState::locked:
      return "Locked";
    case ReadinessState::noAccessibility:
      return "Allow Accessibility to insert text";
    case ReadinessState::asleep:
      return "Asleep";
  }
  return {};
}

std::vector<ConnectionCheckRow> connectionCheckRows(HealthState health, ConnectionStatus status, bool axTrusted,
                                                    std::size_t peers) {
  return {healthRow(health),
          {"Relay connection", relayState(status), statusWord(status)},
          {"Accessibility", axTrusted ? Row::State::good : Row::State::warning,
           axTrusted ? "Allowed" : "Not allowed: drafts only"},
          {"Paired iPhones", peers > 0 ? Row::State::good : Row::State::warning, std::to_string(peers)}};
}

}  // namespace quillet
