// SPDX-License-Identifier: MIT
#include <QApplication>
#include <cstdlib>

#include "Tests/Doubles/LogCapture.h"

int main(int argc, char** argv) {
  setenv("TZ", "UTC", 1);  // or days in texts are others than those of the scenes
  testing::InitGoogleTest(&argc, argv);
  QApplication application(argc, argv);
  QApplication::setApplicationName("Quillet");
  QApplication::setQuitOnLastWindowClosed(false);
  return quillet::test::runTests();
}
