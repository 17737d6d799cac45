// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Program/Quillet.h"

int main(int argc, char** argv) {
  return quillet::runQuillet(argc, argv, nullptr);
}
