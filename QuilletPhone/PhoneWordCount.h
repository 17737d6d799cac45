// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <iosfwd>
#include <string_view>

#include "QuilletKit/Words/WordStatsSummary.h"
#include "QuilletPhone/PhoneState.h"

namespace quillet {

/// Adds the words of a text to this phone's ledger; to be called once for each text that a Mac verifiably inserted. The
/// ledger is in "words.json" in the phone's folder and, where the state names a folder for it that exists, in that one,
/// where the phone's Macs find it. A count that is lost is no failure, only a line in `notes`; so is a damaged file,
/// which becomes "words.json.damaged".
void recordInsertedWords(const PhoneState& state, const std::filesystem::path& folder, std::string_view text,
                         std::ostream& notes);

/// The words of this phone and, where a folder is shared, of all devices. Throws std::runtime_error for a file that
/// can't be read.
WordStatsSummary wordSummary(const PhoneState& state, const std::filesystem::path& folder, std::ostream& notes);

}  // namespace quillet
