// SPDX-License-Identifier: MIT
#include "Tests/Doubles/UnannouncedErrors.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  return quillet::test::runTests();
}
