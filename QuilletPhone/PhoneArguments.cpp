// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>

#include "QuilletPhone/PhoneCommands.h"

namespace quillet {

const char* const kPhoneHelp =
    R"(usage: quillet-phone [--json] [--state FOLDER] COMMAND

A phone for Quillet, as a command-line program.

  init [--service URL] [--name NAME] [--words FOLDER]
                                       make this phone's keys and register it
  pair CODE-OR-INVITATION [--yes]      pair with a Mac; shows four words to compare
  macs                                 the paired Macs
  presence                             which of them are there, and whether text can go in
  say TEXT [--mac MAC]                 prepare, deliver, wait, and verify the result
  unpair [--mac MAC]                   end a pairing (also: revoke)
  rename NAME                          the name that Macs show
  words                                how many words went in
  delete [--yes]                       delete this phone at the service, then here
  reset [--yes]                        forget keys and pairs here only

The steps of "say", one by one:
  prepare [--utterance ID]             ask for a target; prints its token
  deliver TOKEN TEXT --utterance ID    send the text
  wait ID [--seconds N]                wait for the result (default 60)
  cancel ID                            take a delivery back that hasn't reached the Mac

Options:
  --json           one JSON object on standard output
  --state FOLDER   where this phone keeps its keys and pairs
                   (default: quillet-phone in the XDG data home)
  --mac MAC        a Mac's name or the start of its id; not needed when one is paired
  --yes            take the four words as compared, or the question as answered (for scripts)
  --words FOLDER   where word counts are shared with the Macs; a folder kept in step between them
  --seconds N      how long "say" and "wait" wait for a result
  --help, --version

Exit codes: 0 done, 1 failure on this machine, 2 wrong usage, 3 not set up or no such Mac,
4 service unreachable, 5 service refused, 6 the Mac refused, 7 uncertain (the text may have
gone in), 8 pairing failed, 9 an answer could not be verified, 10 no result in time.
)";

namespace {

constexpr std::array<std::string_view, 7> kValued{"state", "service", "name", "mac", "utterance", "seconds", "words"};
constexpr std::array<std::string_view, 3> kFlags{"yes", "help", "version"};

bool isOneOf(const auto& list, std::string_view name) {
  return std::find(list.begin(), list.end(), name) != list.end();
}

}  // namespace

PhoneArguments PhoneArguments::parse(const std::vector<std::string>& arguments) {
  PhoneArguments parsed;
  bool onlyOperands = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (onlyOperands || !argument.starts_with("--")) {
      (parsed.command.empty() ? parsed.command : parsed.operands.emplace_back()) = argument;
      continue;
    }
    const std::string name = argument.substr(2);
    if (name.empty()) {
      onlyOperands = true;
    } else if (name == "json") {
      parsed.json = true;
    } else if (isOneOf(kFlags, name)) {
      parsed.options[name] = "";
    } else if (isOneOf(kValued, name)) {
      if (++i == arguments.size()) throw PhoneError(PhoneExit::usage, "\"" + argument + "\" needs a value.");
      parsed.options[name] = arguments[i];
    } else {
      throw PhoneError(PhoneExit::usage, "Unknown option \"" + argument + "\".");
    }
  }
  return parsed;
}

std::string PhoneArguments::option(const std::string& name, const std::string& fallback) const {
  const auto found = options.find(name);
  return found == options.end() ? fallback : found->second;
}

}  // namespace quillet
