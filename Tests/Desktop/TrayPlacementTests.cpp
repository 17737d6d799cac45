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
}

}  // namespace
}  // namespace quillet
