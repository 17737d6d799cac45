// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QVariantList>

#include "QuilletCompanion/App/AppModel.h"
#include "QuilletCompanion/App/FeedbackForm.h"
#include "QuilletCompanion/Views/ViewObject.h"

namespace quillet {

/// The settings' own state: paired phones, a message to the developer, deletion. It ends with the window.
class SettingsView final : public ViewObject {
  Q_OBJECT
  Q_PROPERTY(QVariantList peers READ peers NOTIFY changed)
  Q_PROPERTY(QString revokeMessage READ revokeMessage NOTIFY changed)
  Q_PROPERTY(bool deleting READ deleting NOTIFY changed)
  Q_PROPERTY(QString deleteError READ deleteError NOTIFY changed)
  Q_PROPERTY(QString message READ message WRITE setMessage NOTIFY changed)
  Q_PROPERTY(QString replyTo READ replyTo WRITE setReplyTo NOTIFY changed)
  Q_PROPERTY(QString feedbackProblem READ feedbackProblem NOTIFY changed)
  Q_PROPERTY(bool feedbackSent READ feedbackSent NOTIFY changed)
  Q_PROPERTY(bool canSendFeedback READ canSendFeedback NOTIFY changed)

 public:
  SettingsView(AppModel& model, Executor mainThread);

  /// Each with "id", "name", "paired" and, if known, "seen": dates as the user's language writes them.
  QVariantList peers() const;
  QString revokeMessage() const { return revokeMessage_; }
  bool deleting() const { return deleting_; }
  QString deleteError() const { return deleteError_; }
  QString message() const { return toQt(form_.message); }
  void setMessage(const QString& message);
  QString replyTo() const { return toQt(form_.replyTo); }
  void setReplyTo(const QString& replyTo);
  /// The one line under the form, unless the message was sent.
  QString feedbackProblem() const;
  bool feedbackSent() const { return sent_ && !form_.problem(); }
  bool canSendFeedback() const { return !sending_ && form_.canBeSent(); }

  Q_INVOKABLE bool canSaveName(const QString& name) const;
  Q_INVOKABLE void revoke(const QString& deviceId);
  Q_INVOKABLE void sendFeedback();
  Q_INVOKABLE void deleteCloudData();

 Q_SIGNALS:
  void deleted();

 private:
  void feedbackAnswered(const std::exception_ptr& error);

  AppModel& model_;
  FeedbackForm form_;
  QString revokeMessage_, deleteError_, feedbackFailure_;
  bool deleting_ = false, sending_ = false, sent_ = false;
};

}  // namespace quillet
