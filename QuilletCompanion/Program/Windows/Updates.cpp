// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Program/Windows/Updates.h"

namespace quillet {

std::unique_ptr<UpdateController> makeUpdateController() {
  // On Linux the package manager brings new versions.
  return nullptr;
}

}  // namespace quillet
