// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Program/Companion.h"

int main(int argc, char** argv) {
  return quillet::runCompanion(argc, argv);
}
