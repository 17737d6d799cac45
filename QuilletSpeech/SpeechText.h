// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "QuilletSpeech/SpeechEngine.h"

/// What all engines do with a text that comes out of them.
namespace quillet::SpeechText {

/// Single blanks between words, none at the ends, and of style `clean` without filler words.
std::string finished(std::string_view raw, const SpeechOptions& options);
/// `text` has single blanks. The words of hesitation go, together with their commas: "I, um, think" becomes "I think".
/// In an unknown language only those go that are words in none of the languages we know.
std::string withoutFillers(std::string_view text, std::string_view language);
/// "de" of "de-CH" or "de_CH", in lower case; empty stays empty.
std::string primaryLanguage(std::string_view tag);

}  // namespace quillet::SpeechText
