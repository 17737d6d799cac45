// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Program/UserFolders.h"

#include "QuilletCompanion/App/AppModelParts.h"
#include "QuilletKit/Base/BaseFolder.h"

namespace quillet::UserFolders {
namespace {

using Folder = std::optional<std::filesystem::path>;

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
