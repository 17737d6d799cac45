// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "QuilletKit/Protocol/WireModels.h"

namespace quillet {

/// The user's languages, the first one preferred, as BCP 47 tags, and the region ("GB") where they live; either may be
/// empty.
struct UserLocale {
  std::vector<std::string> languages;
  std::string region;

  /// As the environment of a Unix process tells, by LANGUAGE, LC_ALL, LC_MESSAGES and LANG.
  static UserLocale ofEnvironment();
};

/// The locale that an engine is asked for: "en-US", "en-GB", "nl-NL", "fr-FR" or "de-DE".
std::string speechLocale(RecognitionLanguage language, const UserLocale& user);

}  // namespace quillet
