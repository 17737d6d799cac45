// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Terminal/TerminalText.h"

#include <ctime>

#include "QuilletCompanion/Terminal/Overload.h"
#include "QuilletKit/Base/PlainText.h"

namespace quillet::TerminalText {
namespace {

namespace json = boost::json;
using Loop = RegistrationLoop;

/// In the user's own time zone.
std::string dateText(std::int64_t milliseconds) {
  const auto seconds = static_cast<std::time_t>(milliseconds / 1000);
  std::tm local{};
  if (localtime_r(&seconds, &local) == nullptr) return {};
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &local)};
}

/// Nothing until there was a check.
std::string healthText(HealthState health) {
  return health == HealthState::unknown ? "" : " (last check: " + std::string(rawValue(health)) + ")";
}

std::string serviceText(const AppModel& model) {
  return model.serviceLocation() ? model.serviceLocation()->text() : "none";
}

const char* onOff(bool on) {
  return on ? "on" : "off";
}

}  // namespace

json::object describe(const AppModel::Registration& registration) {
  return std::visit(Overload{[](const Loop::Offline& offline) {
                               return json::object{{"state", "offline"}, {"retryAt", offline.retryAt}};
                             },
                             [](Loop::Step step) {
                               return json::object{{"state", rawValue(step)}};
                             }},
                    registration);
}

std::string textOf(const AppModel::Registration& registration) {
  return std::visit(
      Overload{[](const Loop::Offline& offline) { return "offline, next try at " + dateText(offline.retryAt + 999); },
               [](Loop::Step step) {
                 if (step == Loop::Step::notStarted) return std::string("not started");
                 if (step != Loop::Step::revoked) return std::string(rawValue(step));
                 return std::string(
                     "This computer's pairing identity was removed from the service. Type \"reset\" to pair again.");
               }},
      registration);
}

json::object describe(const Readiness& readiness) {
  json::object object{{"state", rawValue(readiness.state)}};
  if (readiness.appName) object["appName"] = *readiness.appName;
  if (readiness.fieldLabel) object["fieldLabel"] = *readiness.fieldLabel;
  return object;
}

std::string textOf(const Readiness& readiness) {
  std::string text = "Target: " + std::string(rawValue(readiness.state));
  if (readiness.appName) text += " in " + plainText(*readiness.appName);
  if (readiness.fieldLabel) text += " (" + plainText(*readiness.fieldLabel) + ")";
  return text;
}

json::array describePeers(const AppModel& model) {
  json::array list;
  for (const auto& peer : model.peerStore().peers().get()) {
    json::object item{{"deviceId", peer.identity.deviceId}, {"name", peer.identity.name}, {"pairedAt", peer.pairedAt}};
    if (const auto seen = model.lastSeen(peer.identity.deviceId)) item["lastSeenAt"] = *seen;
    list.emplace_back(std::move(item));
  }
  return list;
}

std::string peersText(const AppModel& model) {
  std::string text;
  for (const auto& peer : model.peerStore().peers().get()) {
    text += (text.empty() ? "" : "\n") + plainText(peer.identity.name) + "  " + peer.identity.deviceId + "  Paired " +
            dateText(peer.pairedAt);
    if (const auto seen = model.lastSeen(peer.identity.deviceId)) text += ", last seen " + dateText(*seen);
  }
  return text.empty() ? "No phones are paired yet." : text;
}

json::object describeStatus(const AppModel& model) {
  json::object fields{{"macName", model.macName().get()},
                      {"connection", rawValue(model.connectionStatus().get())},
                      {"registration", describe(model.registration().get())},
                      {"readiness", describe(model.readiness().get())},
                      {"accessibility", model.axTrusted().get()},
                      {"needsRestart", model.axNeedsRestart().get()},
                      {"health", rawValue(model.health().get())},
                      {"launchAtLogin", model.launchAtLogin().get()},
                      {"service", serviceText(model)},
                      {"peers", model.peerStore().peers().get().size()},
                      {"version", model.appVersion()}};
  if (model.deviceId().get()) fields["deviceId"] = *model.deviceId().get();
  if (model.startupError().get()) fields["startupError"] = *model.startupError().get();
  return fields;
}

std::string statusText(const AppModel& model) {
  std::string text =
      plainText(model.macName().get()) + "\n  " +
      plainText(statusLine(model.connectionStatus().get(), model.readiness().get())) +
      "\n  Service: " + plainText(serviceText(model)) + healthText(model.health().get()) +
      "\n  Registration: " + textOf(model.registration().get()) +
      "\n  Connection: " + statusWord(model.connectionStatus().get()) +
      "\n  Accessibility: " + (model.axTrusted().get() ? "Allowed" : "Not allowed") + "\n  " +
      textOf(model.readiness().get()) + "\n  Paired phones: " + std::to_string(model.peerStore().peers().get().size()) +
      "\n  Launch at login: " + onOff(model.launchAtLogin().get()) + "\n  Version: " + model.appVersion();
  if (model.startupError().get()) text += "\n  " + *model.startupError().get();
  return text;
}

std::vector<ConnectionCheckRow> checkRows(const AppModel& model) {
  return connectionCheckRows(model.health().get(), model.connectionStatus().get(), model.axTrusted().get(),
                             model.peerStore().peers().get().size());
}

json::array describe(const std::vector<ConnectionCheckRow>& rows) {
  json::array list;
  for (const auto& row : rows) {
    list.push_back({{"title", row.title}, {"state", rawValue(row.state)}, {"detail", row.detail}});
  }
  return list;
}

std::string textOf(const std::vector<ConnectionCheckRow>& rows) {
  std::string text;
  for (const auto& row : rows) text += (text.empty() ? "" : "\n") + row.title + ": " + row.detail;
  return text;
}

json::object describe(const WordStatsSummary& summary) {
  json::object fields{{"today", summary.today},
                      {"week", summary.week},
                      {"month", summary.month},
                      {"total", summary.total},
                      {"streak", summary.streak}};
  json::array devices;
  for (const auto& device : summary.devices) {
    devices.push_back({{"name", device.name}, {"total", device.total}, {"isThisDevice", device.isThisDevice}});
  }
  fields["devices"] = std::move(devices);
  return fields;
}

std::string textOf(const WordStatsSummary& summary) {
  std::string text = "Today " + std::to_string(summary.today) + ", week " + std::to_string(summary.week) + ", month " +
                     std::to_string(summary.month) + ", total " + std::to_string(summary.total);
  for (const auto& device : summary.devices)
    text += "\n" + plainText(device.name) + ": " + std::to_string(device.total);
  return text;
}

std::string accessibilityText(const AppModel& model) {
  if (model.axNeedsRestart().get()) {
    return "Access is on, but this copy of Quillet needs to restart to use it. Type \"restart\".";
  }
  if (model.axTrusted().get()) return "Quillet can insert text into other apps.";
  return "Not allowed. Dictations are kept as drafts on your phone.\n"
         "Quillet asked the desktop's accessibility service to be on. If it stays off, see that the package "
         "at-spi2-core is installed and that this program runs inside your desktop session (its D-Bus address is in "
         "DBUS_SESSION_BUS_ADDRESS). Programs that were started before may have to be started again.";
}

}  // namespace quillet::TerminalText
