// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Terminal/TerminalFrontEnd.h"

#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>

#include "QuilletCompanion/Terminal/TerminalQRCode.h"
#include "QuilletKit/Unicode.h"

namespace quillet {
namespace {

namespace json = boost::json;

template <typename... Cases>
struct Overload : Cases... {
  using Cases::operator()...;
};
template <typename... Cases>
Overload(Cases...) -> Overload<Cases...>;

std::string joined(const PairingViewModel::Words& words) {
  std::string text;
  for (const auto& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

json::array arrayOf(const PairingViewModel::Words& words) {
  json::array array;
  for (const auto& word : words) array.emplace_back(word);
  return array;
}

std::string_view kindName(PairingViewModel::Failure::Kind kind) {
  using Kind = PairingViewModel::Failure::Kind;
  switch (kind) {
    case Kind::offline:
      return "offline";
    case Kind::expired:
      return "expired";
    case Kind::cancelledByPhone:
      return "cancelledByPhone";
    case Kind::cancelledHere:
      return "cancelledHere";
    case Kind::verificationFailed:
      return "verificationFailed";
    case Kind::server:
      return "server";
  }
  return "server";
}

std::string_view stepName(AppModel::Step step) {
  switch (step) {
    case AppModel::Step::notStarted:
      return "notStarted";
    case AppModel::Step::registering:
      return "registering";
    case AppModel::Step::registered:
      return "registered";
    case AppModel::Step::revoked:
      return "revoked";
  }
  return "notStarted";
}

json::object describe(const AppModel::Registration& registration) {
  return std::visit(Overload{[](const AppModel::Offline& offline) {
                               return json::object{{"state", "offline"}, {"retryAt", offline.retryAt}};
                             },
                             [](const AppModel::Failed& failed) {
                               return json::object{{"state", "failed"}, {"message", failed.message}};
                             },
                             [](AppModel::Step step) {
                               return json::object{{"state", stepName(step)}};
                             }},
                    registration);
}

json::object describe(const AppModel::Readiness& readiness) {
  json::object object{{"state", rawValue(readiness.state)}};
  if (readiness.appName) object["appName"] = *readiness.appName;
  if (readiness.fieldLabel) object["fieldLabel"] = *readiness.fieldLabel;
  return object;
}

std::string readinessText(const AppModel::Readiness& readiness) {
  std::string text = "Target: " + std::string(rawValue(readiness.state));
  if (readiness.appName) text += " in " + *readiness.appName;
  if (readiness.fieldLabel) text += " (" + *readiness.fieldLabel + ")";
  return text;
}

constexpr std::string_view kHelp =
    "status   what this Mac is doing\n"
    "pair     show a code for a phone\n"
    "confirm  the four words agree\n"
    "cancel   end the pairing\n"
    "peers    the paired phones\n"
    "quit     end the program";

}  // namespace

TerminalFrontEnd::TerminalFrontEnd(AppModel& model, Style style, std::function<void(std::string)> print,
                                   std::function<void()> quit)
    : model_(model), style_(style), print_(std::move(print)), quit_(std::move(quit)) {
  watch();
}

TerminalFrontEnd::~TerminalFrontEnd() {
  model_.onInsertion = nullptr;
  if (pairing_) pairing_->stop();
}

void TerminalFrontEnd::watch() {
  registration_ = model_.registration.observe([this](const auto&) { showRegistration(); });
  readiness_ = model_.readiness.observe([this](const auto&) { showReadiness(); });
  startupError_ = model_.startupError.observe([this](const std::optional<std::string>& message) {
    if (message) event("startupError", {{"message", *message}}, *message);
  });
  wiring_ = model_.wiringGeneration.observe([this](int) { watchConnection(); });
  model_.onInsertion = [this](const std::string& phoneName) {
    event("inserted", {{"phoneName", phoneName}}, "Inserted from " + phoneName);
  };
  watchConnection();
}

void TerminalFrontEnd::watchConnection() {
  connection_.reset();
  if (auto* connection = model_.connection()) {
    connection_ = connection->state().observe([this](const auto&) { showConnection(); });
  }
  showConnection();
}

void TerminalFrontEnd::emit(Object object, const std::string& text) {
  print_(style_ == Style::json ? json::serialize(object) : text);
}

void TerminalFrontEnd::event(std::string_view name, Object fields, const std::string& text) {
  fields["event"] = name;
  emit(std::move(fields), text);
}

void TerminalFrontEnd::answer(std::string_view name, Object fields, const std::string& text) {
  fields["answer"] = name;
  emit(std::move(fields), text);
}

void TerminalFrontEnd::refuse(const std::string& text) {
  answer("error", {{"message", text}}, text);
}

void TerminalFrontEnd::handleLine(std::string_view line) {
  const std::string_view word = Unicode::trim(line);
  if (word.empty()) return;
  if (word == "status") return status();
  if (word == "pair") return pair();
  if (word == "confirm") return confirm();
  if (word == "cancel") return cancel();
  if (word == "peers") return peers();
  if (word == "help") return help();
  if (word == "quit") return quit_();
  refuse("Unknown command. Type \"help\".");
}

void TerminalFrontEnd::status() {
  Object fields{{"macName", model_.macName.get()},
                {"connection", rawValue(model_.connectionStatus())},
                {"registration", describe(model_.registration.get())},
                {"accessibility", model_.axTrusted.get()},
                {"service", model_.serviceLocation().text()},
                {"peers", model_.peerStore().peers().get().size()}};
  model_.publishReadiness();
  fields["readiness"] = describe(model_.readiness.get());
  if (model_.deviceId.get()) fields["deviceId"] = *model_.deviceId.get();
  if (model_.startupError.get()) fields["startupError"] = *model_.startupError.get();
  std::string text = model_.macName.get() + "\n  Service: " + model_.serviceLocation().text() +
                     "\n  Connection: " + std::string(rawValue(model_.connectionStatus())) +
                     "\n  Accessibility: " + (model_.axTrusted.get() ? "on" : "off") + "\n  " +
                     readinessText(model_.readiness.get()) +
                     "\n  Paired phones: " + std::to_string(model_.peerStore().peers().get().size());
  answer("status", std::move(fields), text);
}

void TerminalFrontEnd::pair() {
  auto pairing = model_.makePairingViewModel();
  if (!pairing) return refuse("Quillet is not ready to pair.");
  if (pairing_) pairing_->stop();
  phase_.reset();
  networkTrouble_.reset();
  pairing_ = std::move(pairing);
  phase_ = pairing_->phase.observe([this](const PairingViewModel::Phase& phase) { showPhase(phase); });
  networkTrouble_ = pairing_->networkTrouble.observe([this](bool trouble) {
    if (trouble) event("pairing", {{"phase", "networkTrouble"}}, "Waiting for the network…");
  });
  answer("pair", {}, "Preparing a pairing code…");
  pairing_->start();
}

void TerminalFrontEnd::confirm() {
  if (!pairing_ || !std::holds_alternative<PairingViewModel::Verify>(pairing_->phase.get())) {
    return refuse("There is nothing to confirm.");
  }
  answer("confirm", {}, "Confirmed here.");
  pairing_->confirm();
}

void TerminalFrontEnd::cancel() {
  if (!pairing_ || std::holds_alternative<PairingViewModel::Paired>(pairing_->phase.get()) ||
      std::holds_alternative<PairingViewModel::Failure>(pairing_->phase.get())) {
    return refuse("There is no pairing to cancel.");
  }
  answer("cancel", {}, "Cancelling.");
  pairing_->cancel();
}

void TerminalFrontEnd::peers() {
  json::array list;
  std::string text;
  for (const auto& peer : model_.peerStore().peers().get()) {
    Object item{{"deviceId", peer.identity.deviceId}, {"name", peer.identity.name}, {"pairedAt", peer.pairedAt}};
    if (const auto seen = model_.lastSeen(peer.identity.deviceId)) item["lastSeenAt"] = *seen;
    list.emplace_back(std::move(item));
    text += (text.empty() ? "" : "\n") + peer.identity.name + "  " + peer.identity.deviceId;
  }
  answer("peers", {{"peers", std::move(list)}}, text.empty() ? "No phone is paired." : text);
}

void TerminalFrontEnd::help() {
  answer("help", {{"text", kHelp}}, std::string(kHelp));
}

void TerminalFrontEnd::showRegistration() {
  auto fields = describe(model_.registration.get());
  const std::string text = "Registration: " + std::string(fields["state"].as_string());
  event("registration", std::move(fields), text);
  showConnection();
}

void TerminalFrontEnd::showConnection() {
  const std::string status(rawValue(model_.connectionStatus()));
  if (std::exchange(lastStatus_, status) == status) return;
  event("connection", {{"status", status}}, "Connection: " + status);
}

void TerminalFrontEnd::showReadiness() {
  event("readiness", describe(model_.readiness.get()), readinessText(model_.readiness.get()));
}

void TerminalFrontEnd::showPhase(const PairingViewModel::Phase& phase) {
  using Model = PairingViewModel;
  const auto show = [this](std::string_view name, Object fields, const std::string& text) {
    fields["phase"] = name;
    event("pairing", std::move(fields), text);
  };
  std::visit(
      Overload{
          [&](const Model::Idle&) { show("idle", {}, "Pairing ended."); },
          [&](const Model::Starting&) { show("starting", {}, "Preparing a pairing code…"); },
          [&](const Model::Invitation& invitation) {
            const std::string code = PairingCode::display(invitation.code);
            show("invitation",
                 {{"sessionId", invitation.sessionId},
                  {"qrContent", invitation.qrContent},
                  {"code", code},
                  {"expiresAt", invitation.expiresAt}},
                 terminalQRCode(invitation.qrContent) +
                     "Open Quillet on your iPhone and scan this code.\nEnter this code on your iPhone: " + code);
          },
          [&](const Model::Verify& verify) {
            show("verify", {{"phoneName", verify.phoneName}, {"words", arrayOf(verify.words)}},
                 verify.phoneName + "\nVerification words: " + joined(verify.words) +
                     "\nCheck that your iPhone shows the same four words.\nIf the words are different, cancel. Someone "
                     "else may be trying to pair.\nType \"confirm\" or \"cancel\".");
          },
          [&](const Model::Confirming& confirming) {
            show("confirming", {{"phoneName", confirming.phoneName}}, "Confirm on your iPhone to finish.");
          },
          [&](const Model::Paired& paired) {
            show("paired", {{"phoneName", paired.phoneName}}, "“" + paired.phoneName + "” is paired");
          },
          [&](const Model::Failure& failure) {
            show("failed",
                 {{"failure", kindName(failure.kind)}, {"title", failure.title()}, {"detail", failure.detail()}},
                 failure.title() + "\n" + failure.detail());
          },
      },
      phase);
}

}  // namespace quillet
