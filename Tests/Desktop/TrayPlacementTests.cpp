// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/TrayPlacement.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

TEST(TrayPlacement, StandsAtTheIconOnTheSideThatHasRoom) {
  const QSize popover(300, 400);
  const QRect screen(0, 30, 1280, 740);
  EXPECT_EQ(popoverPlace(QRect(600, 4, 22, 22), {}, popover, screen), QPoint(460, 30)) << "a panel at the top";
  EXPECT_EQ(popoverPlace(QRect(600, 774, 22, 22), {}, popover, screen), QPoint(460, 370)) << "a panel at the bottom";
  EXPECT_EQ(popoverPlace(QRect(1250, 774, 22, 22), {}, popover, screen), QPoint(980, 370)) << "in a corner";
  EXPECT_EQ(popoverPlace({}, QPoint(5, 700), popover, screen), QPoint(0, 300)) << "at the pointer";
  EXPECT_EQ(popoverPlace({}, QPoint(1500, 100), {300, 900}, QRect(1280, 0, 800, 600)), QPoint(1350, 0))
      << "higher than the screen";
  EXPECT_EQ(placeWithin(QRect(0, 0, 800, 560), QRect(701, 60, 560, 510)), QPoint(240, 50)) << "a screen that shrank";
}

TEST(TrayPlacement, PillAndBadgeKeepTheirPlacesOnAnyScreen) {
  const QRect second(1280, 30, 1921, 1050);
  EXPECT_EQ(pillPlace({460, 84}, second), QPoint(2010, 990));
  EXPECT_EQ(badgePlace({200, 40}, second), QPoint(2985, 42));
}

}  // namespace
}  // namespace quillet
