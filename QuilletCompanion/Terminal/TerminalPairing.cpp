// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Terminal/TerminalPairing.h"

#include <boost/json/array.hpp>

#include "QuilletCompanion/Terminal/Overload.h"
#include "QuilletCompanion/Terminal/TerminalQRCode.h"
#include "QuilletKit/Base/PlainText.h"

namespace quillet {
namespace {

using Model = PairingViewModel;

std::string quoted(const std::string& name) {
  return "“" + plainText(name) + "”";
}

std::string joined(const Model::Words& words) {
  std::string text;
  for (const auto& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

boost::json::array arrayOf(const Model::Words& words) {
  boost::json::array array;
  for (const auto& word : words) array.emplace_back(word);
  return array;
}

std::string_view kindName(Model::Failure::Kind kind) {
  using Kind = Model::Failure::Kind;
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

std::string invitationText(const Model::Invitation& invitation) {
  return terminalQRCode(invitation.qrContent) + "Open Quillet on your phone and scan this code.\n" +
         "Enter this code on your phone: " + plainText(PairingCode::display(invitation.code));
}

std::string verifyText(const Model::Verify& verify) {
  return quoted(verify.phoneName) + " asks to be paired.\nVerification words: " + joined(verify.words) +
         "\nCheck that your phone shows the same four words.\n"
         "If the words are different, cancel. Someone else may be trying to pair.\n"
         "Type \"confirm\" or \"cancel\".";
}

}  // namespace

void TerminalPairing::pair() {
  auto pairing = model_.makePairingViewModel();
  if (!pairing) return output_.refuse("Quillet is not ready to pair.");
  end();
  pairing_ = std::move(pairing);
  phase_ = pairing_->phase.observe([this](const Model::Phase& phase) { show(phase); });
  networkTrouble_ = pairing_->networkTrouble.observe([this](bool trouble) {
    if (trouble) showPhase("networkTrouble", {}, "Waiting for the network…");
  });
  output_.answer("pair", {}, "Preparing a pairing code…");
  pairing_->start();
}

void TerminalPairing::confirm() {
  if (!pairing_ || !std::holds_alternative<Model::Verify>(pairing_->phase.get())) {
    return output_.refuse("There is nothing to confirm.");
  }
  output_.answer("confirm", {}, "Confirmed here.");
  pairing_->confirm();
}

void TerminalPairing::cancel() {
  const auto isOver = [](const Model& pairing) {
    return std::holds_alternative<Model::Paired>(pairing.phase.get()) ||
           (std::holds_alternative<Model::Failure>(pairing.phase.get()) && !pairing.isRetrying());
  };
  if (!pairing_ || isOver(*pairing_)) {
    return output_.refuse("There is no pairing to cancel.");
  }
  output_.answer("cancel", {}, "Cancelling.");
  pairing_->cancel();
}

void TerminalPairing::end() {
  phase_.reset();
  networkTrouble_.reset();
  if (const auto pairing = std::exchange(pairing_, nullptr)) pairing->stop();
}

void TerminalPairing::showPhase(std::string_view name, TerminalOutput::Object fields, const std::string& text) {
  fields["phase"] = name;
  output_.event("pairing", std::move(fields), text);
}

void TerminalPairing::show(const Model::Phase& phase) {
  std::visit(
      Overload{[&](const Model::Idle&) { showPhase("idle", {}, "Pairing ended."); },
               [&](const Model::Starting&) { showPhase("starting", {}, "Preparing a pairing code…"); },
               [&](const Model::Invitation& invitation) {
                 showPhase("invitation",
                           {{"sessionId", invitation.sessionId},
                            {"qrContent", invitation.qrContent},
                            {"code", PairingCode::display(invitation.code)},
                            {"expiresAt", invitation.expiresAt}},
                           invitationText(invitation));
               },
               [&](const Model::Verify& verify) {
                 showPhase("verify", {{"phoneName", verify.phoneName}, {"words", arrayOf(verify.words)}},
                           verifyText(verify));
               },
               [&](const Model::Confirming& confirming) {
                 showPhase("confirming", {{"phoneName", confirming.phoneName}}, "Confirm on your phone to finish.");
               },
               [&](const Model::Paired& paired) {
                 showPhase("paired", {{"phoneName", paired.phoneName}}, quoted(paired.phoneName) + " is paired");
               },
               [&](const Model::Failure& failure) {
                 showPhase(
                     "failed",
                     {{"failure", kindName(failure.kind)}, {"title", failure.title()}, {"detail", failure.detail()}},
                     failure.title() + "\n" + plainText(failure.detail()));
               }},
      phase);
}

}  // namespace quillet
