// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace quillet {

/// A fresh random UUID (version 4) in lower case. From any thread.
std::string randomUUID();

}  // namespace quillet
