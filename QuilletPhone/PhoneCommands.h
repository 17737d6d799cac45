// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "QuilletPhone/Phone.h"

namespace quillet {

struct PhoneArguments {
  std::string command;
  std::vector<std::string> operands;
  std::map<std::string, std::string> options;  ///< Without the dashes; flags have an empty value.
  bool json = false;

  /// Throws PhoneError(usage).
  static PhoneArguments parse(const std::vector<std::string>& arguments);
  std::string option(const std::string& name, const std::string& fallback = "") const;
  bool has(const std::string& name) const { return options.contains(name); }
};

extern const char* const kPhoneHelp;

/// Runs one command to its end. Answers go to `out`, questions and errors to `err`, replies to questions come from
/// `in`. `defaultFolder` is used unless --state names another.
PhoneExit runPhone(const PhoneArguments& arguments, const std::filesystem::path& defaultFolder, std::istream& in,
                   std::ostream& out, std::ostream& err);

}  // namespace quillet
