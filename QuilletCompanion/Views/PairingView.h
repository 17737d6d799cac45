// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>
#include <QTimer>
#include <memory>

#include "QuilletCompanion/App/AppModel.h"
#include "QuilletCompanion/App/PairingViewModel.h"
#include "QuilletCompanion/Views/ViewObject.h"

namespace quillet {

/// One pairing as its window shows it; ends it when destroyed.
class PairingView final : public ViewObject {
  Q_OBJECT
  Q_PROPERTY(QString phase READ phase NOTIFY changed)
  Q_PROPERTY(QString qrContent READ qrContent NOTIFY changed)
  Q_PROPERTY(QString code READ code NOTIFY changed)
  Q_PROPERTY(bool showCode READ showCode WRITE setShowCode NOTIFY changed)
  Q_PROPERTY(bool networkTrouble READ networkTrouble NOTIFY changed)
  Q_PROPERTY(int secondsLeft READ secondsLeft NOTIFY ticked)
  Q_PROPERTY(QString phoneName READ phoneName NOTIFY changed)
  Q_PROPERTY(QStringList words READ words NOTIFY changed)
  Q_PROPERTY(QString failureTitle READ failureTitle NOTIFY changed)
  Q_PROPERTY(QString failureDetail READ failureDetail NOTIFY changed)
  Q_PROPERTY(QString failureSymbol READ failureSymbol NOTIFY changed)
  Q_PROPERTY(QString failureButton READ failureButton NOTIFY changed)
  Q_PROPERTY(bool retrying READ retrying NOTIFY changed)

 public:
  /// `now` gives milliseconds since 1970.
  PairingView(AppModel& model, Executor mainThread, std::function<std::int64_t()> now);
  ~PairingView() override;

  /// "starting", "invitation", "verify", "confirming", "paired" or "failed".
  QString phase() const;
  QString qrContent() const;
  /// As a person reads it aloud.
  QString code() const;
  bool showCode() const { return pairing_ != nullptr && pairing_->showCode.get(); }
  void setShowCode(bool show);
  bool networkTrouble() const { return pairing_ != nullptr && pairing_->networkTrouble.get(); }
  /// Until the code is another one; rounded up, not below zero.
  int secondsLeft() const;
  QString phoneName() const;
  QStringList words() const;
  QString failureTitle() const;
  QString failureDetail() const;
  QString failureSymbol() const;
  QString failureButton() const;
  bool retrying() const { return pairing_ != nullptr && pairing_->isRetrying(); }

  /// Begins as soon as this device has its identity, which may be a moment after the window opened.
  Q_INVOKABLE void start();
  Q_INVOKABLE void confirm();
  Q_INVOKABLE void cancel();

 Q_SIGNALS:
  void ticked();

 private:
  template <typename Phase>
  const Phase* in() const {
    return pairing_ == nullptr ? nullptr : std::get_if<Phase>(&pairing_->phase.get());
  }
  const PairingViewModel::Failure* failure() const { return in<PairingViewModel::Failure>(); }

  void begin();

  AppModel& model_;
  std::unique_ptr<PairingViewModel> pairing_;  ///< Null until it has begun.
  bool wanted_ = false;
  std::function<std::int64_t()> now_;
  QTimer second_;  ///< Runs only while a code is shown.
};

}  // namespace quillet
