// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/BaseFolder.h"

#include <cstdlib>

namespace quillet {

std::optional<std::filesystem::path> baseFolder(const char* variable, const char* underHome) {
  const char* const set = std::getenv(variable);
  if (set != nullptr && *set == '/') return std::filesystem::path(set);
  const char* const home = std::getenv("HOME");
  if (home == nullptr || *home != '/') return std::nullopt;
  return std::filesystem::path(home) / underHome;
}

}  // namespace quillet
