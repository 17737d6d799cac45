// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include "QuilletCompanion/App/DesktopAppearance.h"
#include "QuilletKit/Base/Observable.h"

namespace quillet {

/// The desktop's look as the theme reads it.
class Look final : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool dark READ dark NOTIFY changed)
  Q_PROPERTY(bool highContrast READ highContrast NOTIFY changed)
  Q_PROPERTY(bool reduceMotion READ reduceMotion NOTIFY changed)
  Q_PROPERTY(double fontPixels READ fontPixels NOTIFY changed)

 public:
  explicit Look(const Observable<DesktopAppearance>& appearance, QObject* parent = nullptr);

  bool dark() const { return appearance_.get().isDark; }
  bool highContrast() const { return appearance_.get().hasHighContrast; }
  bool reduceMotion() const { return appearance_.get().reducesMotion; }
  /// Height of the application's font, in pixels of the view.
  double fontPixels() const;

 Q_SIGNALS:
  void changed();

 private:
  bool eventFilter(QObject* watched, QEvent* event) override;

  const Observable<DesktopAppearance>& appearance_;
  Observable<DesktopAppearance>::Subscription watch_;
};

}  // namespace quillet
