// SPDX-License-Identifier: MIT
#include "Tests/Doubles/LogCapture.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  return quillet::test::runTests();
}
