// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/SpeechLocale.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace quillet {
namespace {

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

/// "de_CH.UTF-8@euro" as "de-CH"; empty for what names no language.
std::string tagFrom(std::string_view posix) {
  std::string tag(posix.substr(0, posix.find_first_of(".@")));
  std::replace(tag.begin(), tag.end(), '_', '-');
  return tag == "C" || tag == "POSIX" ? "" : tag;
}

/// The locale of messages, which decides unless LANGUAGE does.
std::string messagesLocale() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (auto value = environment(name); !value.empty()) return value;
  }
  return "";
}

std::string english(const UserLocale& user) {
  const auto first = std::find_if(user.languages.begin(), user.languages.end(),
                                  [](const std::string& tag) { return tag.starts_with("en"); });
  const bool speaksBritish = first != user.languages.end() && first->ends_with("GB");
  return speaksBritish || user.region == "GB" ? "en-GB" : "en-US";
}

}  // namespace

UserLocale UserLocale::ofEnvironment() {
  UserLocale user;
  const std::string locale = tagFrom(messagesLocale());
  if (const auto dash = locale.find('-'); dash != std::string::npos) user.region = locale.substr(dash + 1);
  const std::string list = locale.empty() ? "" : environment("LANGUAGE");
  for (std::size_t at = 0; at < list.size();) {
    const std::size_t end = std::min(list.find(':', at), list.size());
    if (auto tag = tagFrom(std::string_view(list).substr(at, end - at)); !tag.empty()) user.languages.push_back(tag);
    at = end + 1;
  }
  if (!locale.empty()) user.languages.push_back(locale);
  return user;
}

std::string speechLocale(RecognitionLanguage language, const UserLocale& user) {
  const std::string preferred = user.languages.empty() ? "en" : user.languages.front();
  const auto isMeant = [&](RecognitionLanguage one, std::string_view prefix) {
    return language == one || (language == RecognitionLanguage::automatic && preferred.starts_with(prefix));
  };
  if (isMeant(RecognitionLanguage::nl, "nl")) return "nl-NL";
  if (isMeant(RecognitionLanguage::fr, "fr")) return "fr-FR";
  if (isMeant(RecognitionLanguage::de, "de")) return "de-DE";
  return english(user);
}

}  // namespace quillet
