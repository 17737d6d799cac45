// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/TrayPlacement.h"

#include <algorithm>

namespace quillet {

QPoint popoverPlace(const QRect& icon, const QPoint& pointer, const QSize& popover, const QRect& available) {
  const QRect anchor = icon.isEmpty() ? QRect(pointer, QSize(1, 1)) : icon;
  const bool above = anchor.center().y() > available.center().y();
  const int x = anchor.center().x() - popover.width() / 2;
  const int y = above ? anchor.top() - popover.height() : anchor.bottom() + 1;
  return placeWithin(available, QRect(QPoint(x, y), popover));
}

QPoint placeWithin(const QRect& available, const QRect& window) {
  const auto kept = [](int wanted, int least, int most) { return std::max(least, std::min(wanted, most)); };
  return {kept(window.left(), available.left(), available.right() + 1 - window.width()),
          kept(window.top(), available.top(), available.bottom() + 1 - window.height())};
}

QPoint pillPlace(const QSize& window, const QRect& available) {
  constexpr int margin = 6;
  return {available.left() + (available.width() - window.width()) / 2,
          available.bottom() + 1 - margin - window.height()};
}

QPoint badgePlace(const QSize& badge, const QRect& available) {
  constexpr int marginX = 16, marginY = 12;
  return {available.right() + 1 - badge.width() - marginX, available.top() + marginY};
}

}  // namespace quillet
