// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Program/UserFolders.h"

#include <cstdlib>

#include "QuilletCompanion/App/AppModelParts.h"

namespace quillet::UserFolders {
namespace {

using Folder = std::optional<std::filesystem::path>;

Folder baseFolder(const char* variable, const char* underHome) {
  const char* set = std::getenv(variable);
  if (set != nullptr && *set == '/') return std::filesystem::path(set);
  const char* home = std::getenv("HOME");
  if (home == nullptr || *home != '/') return std::nullopt;
  return std::filesystem::path(home) / underHome;
}

Folder ofOurs(Folder base) {
  if (base) *base /= kBundleIdentifier;
  return base;
}

}  // namespace

Folder config() {
  return baseFolder("XDG_CONFIG_HOME", ".config");
}
Folder ownConfig() {
  return ofOurs(config());
}
Folder ownData() {
  return ofOurs(baseFolder("XDG_DATA_HOME", ".local/share"));
}

}  // namespace quillet::UserFolders
