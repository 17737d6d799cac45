// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <functional>

class QScreen;

namespace quillet {

/// Tells, from the event loop, that a screen came or went, or has other room for windows than before. Main thread only.
class ScreenChanges final : public QObject {
 public:
  explicit ScreenChanges(std::function<void()> changed);

 private:
  void follow(QScreen* screen);
  void tell();

  std::function<void()> changed_;
};

}  // namespace quillet
