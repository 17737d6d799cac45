// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QString>
#include <optional>
#include <string>

#include "QuilletCompanion/Views/Look.h"

namespace quillet::pictures {

/// The one look of the process, as a desktop would set it.
class Gallery {
 public:
  static Gallery& instance();

  /// "light", "dark", "light-contrast" or "dark-contrast".
  void setLook(const QString& name);
  Look& look() { return look_; }
  /// What Qt and QML complained about since the last call; such lines say that a window is wrong.
  std::string takeComplaints();

  /// A PNG of each scene, named after it. 0 if all went well.
  int paint(const QString& folder);
  /// Shows one scene after another and names it on the standard output; a line on the input asks for the next.
  int show();

 private:
  Gallery();

  Observable<DesktopAppearance> appearance_{DesktopAppearance{.reducesMotion = true}};
  Look look_{appearance_};
  std::string complaints_;
};

}  // namespace quillet::pictures
