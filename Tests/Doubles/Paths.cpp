// SPDX-License-Identifier: MIT
#include "Tests/Doubles/Files.h"

namespace quillet {

std::string test::sourceFile(const std::string& path) {
  return QUILLET_SOURCE_DIR "/" + path;
}
std::string test::builtProgram(const std::string& name) {
  return QUILLET_BIN_DIR "/" + name;
}

}  // namespace quillet
