// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/PairingView.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "QuilletKit/Protocol/PairingCrypto.h"

namespace quillet {

using Model = PairingViewModel;

PairingView::PairingView(AppModel& model, Executor mainThread, std::function<std::int64_t()> now)
    : ViewObject(std::move(mainThread)), model_(model), now_(std::move(now)) {
  keep(model_.deviceId().observe([this](const auto&) {
    if (wanted_) begin();
  }));
  second_.setInterval(std::chrono::seconds(1));
  connect(&second_, &QTimer::timeout, this, &PairingView::ticked);
  connect(this, &ViewObject::changed, this, [this] {
    in<Model::Invitation>() != nullptr ? second_.start() : second_.stop();
    Q_EMIT ticked();
  });
}

PairingView::~PairingView() {
  if (pairing_ != nullptr) pairing_->stop();
}

QString PairingView::phase() const {
  if (in<Model::Invitation>() != nullptr) return "invitation";
  if (in<Model::Verify>() != nullptr) return "verify";
  if (in<Model::Confirming>() != nullptr) return "confirming";
  if (in<Model::Paired>() != nullptr) return "paired";
  return failure() != nullptr ? "failed" : "starting";
}

QString PairingView::qrContent() const {
  const auto* invitation = in<Model::Invitation>();
  return invitation == nullptr ? QString() : toQt(invitation->qrContent);
}

QString PairingView::code() const {
  const auto* invitation = in<Model::Invitation>();
  return invitation == nullptr ? QString() : toQt(PairingCode::display(invitation->code));
}

void PairingView::setShowCode(bool show) {
  if (pairing_ != nullptr) pairing_->showCode.set(show);
}

int PairingView::secondsLeft() const {
  const auto* invitation = in<Model::Invitation>();
  if (invitation == nullptr) return 0;
  return static_cast<int>(std::max<std::int64_t>(0, (invitation->expiresAt - now_() + 999) / 1000));
}

QString PairingView::phoneName() const {
  if (const auto* verify = in<Model::Verify>()) return toQt(verify->phoneName);
  if (const auto* confirming = in<Model::Confirming>()) return toQt(confirming->phoneName);
  if (const auto* paired = in<Model::Paired>()) return toQt(paired->phoneName);
  return {};
}

QStringList PairingView::words() const {
  const auto* verify = in<Model::Verify>();
  const auto* confirming = in<Model::Confirming>();
  QStringList found;
  if (verify != nullptr || confirming != nullptr) {
    for (const auto& word : verify != nullptr ? verify->words : confirming->words) found.append(toQt(word));
  }
  return found;
}

QString PairingView::failureTitle() const {
  return failure() == nullptr ? QString() : inWords(failure()->title());
}

QString PairingView::failureDetail() const {
  if (failure() == nullptr) return {};
  const auto detail = failure()->detail();
  return failure()->kind == Model::Failure::Kind::server ? toQt(detail) : inWords(detail);
}

QString PairingView::failureSymbol() const {
  return failure() == nullptr ? QString() : toQt(failure()->symbol());
}

QString PairingView::failureButton() const {
  return failure() == nullptr ? QString() : inWords(failure()->button());
}

void PairingView::start() {
  wanted_ = true;
  if (pairing_ != nullptr) {
    pairing_->start();
  } else {
    begin();
  }
}

/// Anew with each identity that this device gets; without one there is nothing to pair.
void PairingView::begin() {
  if (pairing_ != nullptr) pairing_->stop();
  pairing_ = model_.makePairingViewModel();
  if (pairing_ == nullptr) return Q_EMIT changed();
  follow(pairing_->phase);
  follow(pairing_->networkTrouble);
  follow(pairing_->showCode);
  pairing_->start();
}

void PairingView::confirm() {
  if (pairing_ != nullptr) pairing_->confirm();
}

void PairingView::cancel() {
  if (pairing_ != nullptr) pairing_->cancel();
}

}  // namespace quillet
