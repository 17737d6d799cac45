// SPDX-License-Identifier: MIT
#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

namespace quillet {

/// Where a popover of that size stands: at the icon, where its place is known, else at the pointer, on the side of it
/// that has the room, and whole within the part of the screen that windows may use.
QPoint popoverPlace(const QRect& icon, const QPoint& pointer, const QSize& popover, const QRect& available);

/// Where a window goes that shall be whole within `available`: no further than it must, and with its upper left corner
/// seen where it is too large.
QPoint placeWithin(const QRect& available, const QRect& window);

/// Where the window of the dictation's pill stands: at the bottom, in the middle.
QPoint pillPlace(const QSize& window, const QRect& available);
/// Where the badge stands: at the top right.
QPoint badgePlace(const QSize& badge, const QRect& available);

}  // namespace quillet
