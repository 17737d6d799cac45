// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <iostream>

#include "QuilletKit/Base/Log.h"
#include "QuilletPhone/PhoneCommands.h"

namespace {

std::filesystem::path dataFolder() {
  if (const char* data = std::getenv("XDG_DATA_HOME"); data != nullptr && *data == '/') return data;
  const char* home = std::getenv("HOME");
  return std::filesystem::path(home != nullptr ? home : ".") / ".local/share";
}

}  // namespace

int main(int argc, char** argv) {
  using namespace quillet;
  Log::configure(Log::Level::error, "quillet-phone");
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  return static_cast<int>(runPhone(arguments, dataFolder() / "quillet-phone", std::cin, std::cout, std::cerr));
}
