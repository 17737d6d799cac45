// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QVariantList>

#include "QuilletCompanion/App/AppModel.h"
#include "QuilletCompanion/Views/ViewObject.h"

namespace quillet {

/// Whether each link of the chain from a phone to a field holds, and a field to try it in.
class CheckView final : public ViewObject {
  Q_OBJECT
  Q_PROPERTY(QVariantList rows READ rows NOTIFY changed)
  Q_PROPERTY(bool checking READ checking NOTIFY changed)
  Q_PROPERTY(QString fieldText READ fieldText WRITE setFieldText NOTIFY changed)
  Q_PROPERTY(bool received READ received NOTIFY changed)

 public:
  CheckView(AppModel& model, Executor mainThread);
  ~CheckView() override;

  /// Each with "title", "state" and "detail".
  QVariantList rows() const;
  bool checking() const { return model_.health().get() == HealthState::checking; }
  QString fieldText() const { return toQt(model_.localTest().text().get()); }
  void setFieldText(const QString& text) { model_.localTest().setText(text.toStdString()); }
  bool received() const { return model_.localTest().lastReceivedAt().get().has_value(); }

  Q_INVOKABLE void check();
  Q_INVOKABLE void clear() { model_.localTest().clear(); }
  /// The test field has the keyboard, and its window is the active one.
  Q_INVOKABLE void setFocused(bool focused) { model_.localTest().setFocused(focused); }

 private:
  AppModel& model_;
};

}  // namespace quillet
