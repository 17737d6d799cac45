// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "QuilletKit/Identity/SecretStore.h"

namespace quillet {

/// The place of this machine's keys: the keyring where one can be used, else files in `folder`. The choice is made
/// once, at the first use, and noted there. A keyring that is locked or gone later makes loading fail: a device that
/// looked elsewhere would take itself for a new one and lose its pairs.
std::unique_ptr<SecretStore> openSystemSecretStore(const std::filesystem::path& folder, const std::string& service);

}  // namespace quillet
