// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>
#include <string_view>

#include "QuilletKit/Words/WordStatsSummary.h"
#include "QuilletPhone/PhoneState.h"

namespace quillet {

/// Keeps how many words a text has, until `countSentWords` says that it went in. Only the number is kept, for a week. A
/// count that is lost is no failure, only a line in `notes`; so is a damaged file, which becomes "words.json.damaged".
void noteSentWords(const std::filesystem::path& folder, const std::string& utteranceId, std::string_view text,
                   std::ostream& notes);

/// Adds the words of a sent text to this phone's ledger, once for each utterance however often it is told; to be called
/// when a Mac has verifiably inserted it. The ledger is in "words.json" in the phone's folder and, where the state
/// names a folder for it that exists, in that one, where the phone's Macs find it.
void countSentWords(const PhoneState& state, const std::filesystem::path& folder, const std::string& utteranceId,
                    std::ostream& notes);

/// The words of this phone and, where a folder is shared, of all devices. Throws std::runtime_error for a file that
/// can't be read.
WordStatsSummary wordSummary(const PhoneState& state, const std::filesystem::path& folder, std::ostream& notes);

}  // namespace quillet
