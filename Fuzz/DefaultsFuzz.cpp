// SPDX-License-Identifier: MIT
#include <sstream>

#include "Fuzz/ScratchFile.h"
#include "QuilletCompanion/App/UserDefaults.h"

namespace {

using namespace quillet;

void readAll(const UserDefaults& defaults) {
  for (const auto& member : defaults.lasting()) {
    defaults.string(member.key());
    defaults.boolean(member.key());
    defaults.strings(member.key());
  }
}

/// Each line is an argument.
void checkArguments(std::string_view text) {
  std::istringstream stream{std::string(text)};
  std::vector<std::string> arguments;
  for (std::string line; std::getline(stream, line);) arguments.push_back(line);
  const std::size_t before = arguments.size();
  const auto domain = UserDefaults::takeArgumentDomain(arguments);
  fuzz::require(arguments.size() + 2 * domain.size() <= before);
}

}  // namespace

/// Whatever the settings' file holds, a setting can be made, and is there afterwards beside the others.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool quiet = fuzz::silenceLog();
  const fuzz::ScratchFile file("defaults.json", data, size);
  checkArguments(fuzz::textOf(data, size));

  UserDefaults defaults(file.path());
  readAll(defaults);
  defaults.set("probe", "set");
  const UserDefaults again(file.path());
  fuzz::require(quiet && again.string("probe") == "set" && again.lasting().size() == defaults.lasting().size());
  return 0;
}
