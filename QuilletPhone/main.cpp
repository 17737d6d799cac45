// SPDX-License-Identifier: MIT
#include <iostream>

#include "QuilletKit/Base/BaseFolder.h"
#include "QuilletKit/Base/Log.h"
#include "QuilletPhone/PhoneCommands.h"

int main(int argc, char** argv) {
  using namespace quillet;
  Log::configure(Log::Level::error, "quillet-phone");
  const auto data = baseFolder("XDG_DATA_HOME", ".local/share").value_or(".local/share");
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  return static_cast<int>(runPhone(arguments, data / "quillet-phone", std::cin, std::cout, std::cerr));
}
