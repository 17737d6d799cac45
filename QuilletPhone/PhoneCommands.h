// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <iosfwd>
#include <map>
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
  /// Throws PhoneError(usage) unless there is such a command and its operands and all values can be used.
  void check() const;
  std::string option(const std::string& name, const std::string& fallback = "") const;
  bool has(const std::string& name) const { return options.contains(name); }
  bool wantsHelp() const;
  /// How long to wait for a result. Throws PhoneError(usage).
  Duration waitLimit() const;
  /// As it is sent: trimmed and cut. Throws PhoneError(usage) for what is no name.
  static std::string deviceName(const std::string& given);
  /// Throws PhoneError(usage) for a text that no field should get: not UTF-8, with NUL or escape characters.
  static void checkText(const std::string& text);
};

extern const char* const kPhoneHelp;

/// Runs one command to its end. Answers go to `out`, questions, notes and errors to `err` (errors to `out` with
/// --json), replies to questions come from `in`. `defaultFolder` is used unless --state names another.
PhoneExit runPhone(const std::vector<std::string>& arguments, const std::filesystem::path& defaultFolder,
                   std::istream& in, std::ostream& out, std::ostream& err);

}  // namespace quillet
