// SPDX-License-Identifier: MIT
#include "QuilletSpeech/SpeechText.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

namespace quillet::SpeechText {
namespace {

using Words = std::span<const std::string_view>;

// "um", "er" and "eh" are proper words elsewhere: German "um" and "er", Dutch "er".
constexpr std::string_view kAnywhere[] = {"uh", "uhm", "uhh", "umm", "erm", "ehm", "äh", "ähm", "öhm", "euh", "hmm"};
constexpr std::string_view kEnglish[] = {"um", "er", "eh", "mm", "mhm", "hm"};
constexpr std::string_view kDutch[] = {"eh", "hm", "mm"};
constexpr std::string_view kFrench[] = {"heu", "hum", "hm"};
constexpr std::string_view kGerman[] = {"eh", "hm", "mm"};

Words fillersOf(std::string_view primary) {
  if (primary == "en") return kEnglish;
  if (primary == "nl") return kDutch;
  if (primary == "fr") return kFrench;
  if (primary == "de") return kGerman;
  return {};
}

bool holds(Words words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

/// A word with the punctuation that stands at its ends.
struct Token {
  std::string before, core, after;
};

Token tokenOf(std::string_view text) {
  constexpr std::string_view kMarks = ".,;:!?\"'()[]-";
  const auto first = std::min(text.find_first_not_of(kMarks), text.size());
  const auto last = text.find_last_not_of(kMarks);
  const auto end = last == text.npos ? first : last + 1;
  return {std::string(text.substr(0, first)), std::string(text.substr(first, end - first)),
          std::string(text.substr(end))};
}

std::string lower(std::string_view text) {
  std::string result;
  icu::UnicodeString::fromUTF8({text.data(), static_cast<int>(text.size())})
      .toLower(icu::Locale::getRoot())
      .toUTF8String(result);
  return result;
}

std::string capitalised(const std::string& text) {
  auto unicode = icu::UnicodeString::fromUTF8(text);
  const auto first = unicode.moveIndex32(0, 1);
  icu::UnicodeString initial(unicode, 0, first);
  std::string result;
  unicode.replace(0, first, initial.toUpper(icu::Locale::getRoot())).toUTF8String(result);
  return result;
}

bool endsSentence(const Token& token) {
  return token.after.find_first_of(".!?") != std::string::npos;
}

std::vector<Token> tokensOf(std::string_view text) {
  std::vector<Token> tokens;
  while (!text.empty()) {
    const auto blank = std::min(text.find(' '), text.size());
    tokens.push_back(tokenOf(text.substr(0, blank)));
    text.remove_prefix(std::min(blank + 1, text.size()));
  }
  return tokens;
}

/// Leaves a filler out: what ended the sentence goes to the word before it, a comma beside it goes with it.
void dropAfter(std::vector<Token>& kept, const Token& filler) {
  if (kept.empty()) return;
  std::string& before = kept.back().after;
  if (before.ends_with(',')) before.pop_back();
  if (endsSentence(filler) && !endsSentence(kept.back())) before += filler.after;
}

}  // namespace

std::string primaryLanguage(std::string_view tag) {
  return lower(tag.substr(0, tag.find_first_of("-_")));
}

std::string withoutFillers(std::string_view text, std::string_view language) {
  const Words fillers = fillersOf(primaryLanguage(language));
  std::vector<Token> kept;
  bool capital = false;
  for (Token& token : tokensOf(text)) {
    const std::string word = lower(token.core);
    if (holds(kAnywhere, word) || holds(fillers, word)) {
      capital = capital || (token.core != word && (kept.empty() || endsSentence(kept.back())));
      dropAfter(kept, token);
      continue;
    }
    if (std::exchange(capital, false)) token.core = capitalised(token.core);
    kept.push_back(std::move(token));
  }
  std::string result;
  for (const Token& token : kept) {
    if (!result.empty()) result += ' ';
    result += token.before + token.core + token.after;
  }
  return result;
}

std::string finished(std::string_view raw, const SpeechOptions& options) {
  std::string text;
  constexpr std::string_view kBlanks = " \t\r\n\v\f";
  for (auto at = raw.find_first_not_of(kBlanks); at != raw.npos;) {
    const auto end = std::min(raw.find_first_of(kBlanks, at), raw.size());
    if (!text.empty()) text += ' ';
    text += raw.substr(at, end - at);
    at = raw.find_first_not_of(kBlanks, end);
  }
  return options.style == TranscriptStyle::clean ? withoutFillers(text, options.language) : text;
}

}  // namespace quillet::SpeechText
