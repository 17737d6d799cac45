// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string_view>

#include "QuilletKit/WordStatsSummary.h"
#include "QuilletPhone/PhoneState.h"

namespace quillet {

/// Adds the words of a text to this phone's ledger; to be called once for each text that a Mac verifiably inserted. The
/// ledger is in "words.json" in the phone's folder and, where the state names a folder for it that exists, in that one,
/// where the phone's Macs find it. Never throws: a count that is lost is no failure.
void recordInsertedWords(const PhoneState& state, const std::filesystem::path& folder, std::string_view text) noexcept;

/// The words of this phone and, where a folder is shared, of all devices.
WordStatsSummary wordSummary(const PhoneState& state, const std::filesystem::path& folder);

}  // namespace quillet
