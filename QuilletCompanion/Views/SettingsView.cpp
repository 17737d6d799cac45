// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/SettingsView.h"

#include <QDateTime>
#include <QLocale>
#include <QVariantMap>
#include <exception>
#include <optional>
#include <string>
#include <utility>

namespace quillet {
namespace {

QString dateText(std::int64_t milliseconds) {
  return QLocale().toString(QDateTime::fromMSecsSinceEpoch(milliseconds).date(), QLocale::ShortFormat);
}

}  // namespace

SettingsView::SettingsView(AppModel& model, Executor mainThread) : ViewObject(std::move(mainThread)), model_(model) {
  follow(model_.macName());
  follow(model_.peerStore().peers());
  follow(model_.serverPairs());
}

QVariantList SettingsView::peers() const {
  QVariantList found;
  for (const auto& peer : model_.peerStore().peers().get()) {
    QVariantMap row{
        {"id", toQt(peer.identity.deviceId)}, {"name", toQt(peer.identity.name)}, {"paired", dateText(peer.pairedAt)}};
    if (const auto seen = model_.lastSeen(peer.identity.deviceId)) row["seen"] = dateText(*seen);
    found.append(row);
  }
  return found;
}

bool SettingsView::canSaveName(const QString& name) const {
  return !name.trimmed().isEmpty() && name != toQt(model_.macName().get());
}

void SettingsView::revoke(const QString& deviceId) {
  revokeMessage_.clear();
  Q_EMIT changed();
  background([this, id = deviceId.toStdString()](Task::Token token) -> Awaitable<void> {
    const bool told = co_await model_.revoke(id);
    if (token.cancelled() || told) co_return;
    revokeMessage_ = inWords("Removed from this Mac. The service will be told when it is reachable.");
    Q_EMIT changed();
  });
}

void SettingsView::setMessage(const QString& message) {
  if (form_.message == message.toStdString()) return;
  form_.message = message.toStdString();
  Q_EMIT changed();
}

void SettingsView::setReplyTo(const QString& replyTo) {
  if (form_.replyTo == replyTo.toStdString()) return;
  form_.replyTo = replyTo.toStdString();
  Q_EMIT changed();
}

QString SettingsView::feedbackProblem() const {
  if (const auto problem = form_.problem()) {
    auto text = inWords(*problem);
    if (!text.contains("%2")) return text;
    return text.arg(QLocale().toString(qulonglong{form_.characters()}),
                    QLocale().toString(qulonglong{Feedback::kMaximumMessageCharacters}));
  }
  return feedbackSent() ? QString() : feedbackFailure_;
}

void SettingsView::sendFeedback() {
  if (!canSendFeedback()) return;
  sending_ = true;
  sent_ = false;
  feedbackFailure_.clear();
  Q_EMIT changed();
  background([this, form = form_.trimmed()](Task::Token token) -> Awaitable<void> {
    std::exception_ptr error;
    try {
      co_await model_.sendFeedback(form.message, form.replyTo.empty() ? std::nullopt : std::optional(form.replyTo));
    } catch (...) {
      error = std::current_exception();
    }
    if (!token.cancelled()) feedbackAnswered(error);
  });
}

void SettingsView::feedbackAnswered(const std::exception_ptr& error) {
  sending_ = false;
  sent_ = error == nullptr;
  if (sent_) form_ = {};
  feedbackFailure_ = sent_ ? QString() : inWords(FeedbackForm::failureText(error));
  Q_EMIT changed();
}

void SettingsView::deleteCloudData() {
  if (std::exchange(deleting_, true)) return;
  deleteError_.clear();
  Q_EMIT changed();
  background([this](Task::Token token) -> Awaitable<void> {
    QString failure;
    try {
      co_await model_.deleteCloudData();
    } catch (const std::exception& error) {
      failure = inWords(error.what());
    }
    if (token.cancelled()) co_return;
    deleting_ = false;
    deleteError_ = failure;
    Q_EMIT changed();
    if (failure.isEmpty()) Q_EMIT deleted();
  });
}

}  // namespace quillet
