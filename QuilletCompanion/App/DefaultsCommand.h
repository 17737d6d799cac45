// SPDX-License-Identifier: MIT
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "QuilletCompanion/App/UserDefaults.h"

namespace quillet {

/// "defaults read [KEY] | write KEY VALUE | delete KEY". Gives the exit code: 0, 1 for a key that isn't there or a
/// change that could not be saved, 2 for wrong usage. `words` starts after "defaults".
int runDefaultsCommand(UserDefaults& defaults, const std::vector<std::string>& words, std::ostream& out,
                       std::ostream& err);

}  // namespace quillet
