// SPDX-License-Identifier: MIT
#include <QGuiApplication>
#include <cstdio>
#include <cstdlib>

#include "Tests/Doubles/LogCapture.h"

/// libatspi forgets a call that runs out of time, libdbus's part in it included.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libdbus-1.so\n";
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (std::getenv("DISPLAY") == nullptr) {
    std::fputs("No display: start these tests through desktop.sh.\n", stderr);
    return 1;
  }
  const QGuiApplication application(argc, argv);
  return quillet::test::runTests();
}
