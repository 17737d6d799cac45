// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <iostream>

#include "QuilletKit/Log.h"
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
  try {
    const auto arguments = PhoneArguments::parse({argv + 1, argv + argc});
    if (arguments.has("help") || arguments.command == "help") {
      std::cout << kPhoneHelp;
      return 0;
    }
    if (arguments.has("version")) {
      std::cout << "quillet-phone " QUILLET_VERSION << std::endl;
      return 0;
    }
    if (arguments.command.empty()) throw PhoneError(PhoneExit::usage, "No command. Try \"quillet-phone --help\".");
    return static_cast<int>(runPhone(arguments, dataFolder() / "quillet-phone", std::cin, std::cout, std::cerr));
  } catch (const PhoneError& error) {
    std::cerr << "quillet-phone: " << error.what() << std::endl;
    return static_cast<int>(error.exit);
  }
}
