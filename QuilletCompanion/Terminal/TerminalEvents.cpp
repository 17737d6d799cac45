// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Terminal/TerminalEvents.h"

#include "QuilletCompanion/Terminal/TerminalText.h"
#include "QuilletKit/Base/PlainText.h"

namespace quillet {

using namespace TerminalText;

TerminalEvents::TerminalEvents(AppModel& model, const TerminalOutput& output)
    : model_(model), output_(output), shownPeers_(describePeers(model)) {
  watch(model_.registration(), [this] { showRegistration(); });
  watch(model_.connectionStatus(), [this] {
    const auto status = model_.connectionStatus().get();
    output_.event("connection", {{"status", rawValue(status)}}, "Connection: " + statusWord(status));
  });
  watch(model_.readiness(),
        [this] { output_.event("readiness", describe(model_.readiness().get()), textOf(model_.readiness().get())); });
  watch(model_.axTrusted(), [this] { showTrust(); });
  watch(model_.axNeedsRestart(), [this] { showTrust(); });
  watch(model_.peerStore().peers(), [this] { showPeers(); });
  watch(model_.serverPairs(), [this] { showPeers(); });
  watchSetUp();
  watched_.push_back(model_.inserted().subscribe([this](const std::string& phoneName) {
    output_.event("inserted", {{"phoneName", phoneName}}, "Inserted from " + plainText(phoneName));
  }));
  watched_.push_back(model_.accessibilityHelpWanted().subscribe([this] {
    const std::string text = accessibilityText(model_);
    output_.event("accessibilityHelp", {{"text", text}}, text);
  }));
}

template <typename T>
void TerminalEvents::watch(const Observable<T>& observable, std::function<void()> show) {
  watched_.push_back(observable.observe([show = std::move(show)](const T&) { show(); }));
}

void TerminalEvents::watchSetUp() {
  watch(model_.macName(), [this] {
    output_.event("macName", {{"macName", model_.macName().get()}}, "Name: " + plainText(model_.macName().get()));
  });
  watch(model_.launchAtLogin(), [this] {
    const bool on = model_.launchAtLogin().get();
    output_.event("launchAtLogin", {{"enabled", on}}, std::string("Launch at login: ") + (on ? "on" : "off"));
  });
  watch(model_.health(), [this] {
    const std::string state(rawValue(model_.health().get()));
    output_.event("health", {{"state", state}}, "Service: " + state);
  });
  watch(model_.deviceId(), [this] {
    if (const auto& id = model_.deviceId().get()) output_.event("device", {{"deviceId", *id}}, "Device: " + *id);
  });
  watch(model_.startupError(), [this] {
    if (const auto& error = model_.startupError().get()) output_.event("startupError", {{"message", *error}}, *error);
  });
}

void TerminalEvents::showRegistration() {
  const auto& registration = model_.registration().get();
  output_.event("registration", describe(registration), "Registration: " + textOf(registration));
}

void TerminalEvents::showTrust() {
  output_.event("trust", {{"trusted", model_.axTrusted().get()}, {"needsRestart", model_.axNeedsRestart().get()}},
                "Accessibility: " + accessibilityText(model_));
}

void TerminalEvents::showPeers() {
  auto peers = describePeers(model_);
  if (peers == shownPeers_) return;  // told by the other of the two lists that it comes from
  shownPeers_ = peers;
  output_.event("peers", {{"peers", std::move(peers)}}, "Paired phones:\n" + peersText(model_));
}

}  // namespace quillet
