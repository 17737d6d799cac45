// SPDX-License-Identifier: MIT
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <charconv>

#include "QuilletKit/Base/Unicode.h"
#include "QuilletKit/Protocol/Identifier.h"
#include "QuilletKit/Words/FolderLedgerStorage.h"
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
  say TEXT [--mac MAC] [--utterance ID]
                                       prepare, deliver, wait, and verify the result
  unpair [MAC]                         end a pairing (also: revoke); the whole id of a Mac that
                                       only the service knows of will do
  rename NAME                          the name that Macs show
  words                                how many words went in
  delete [--yes] [--service URL]       delete this phone at the service, then here
  reset [--yes]                        forget keys and pairs here only, also damaged ones

A TEXT of "-" is read from standard input, where other users of this machine can't see it.

The steps of "say", one by one:
  prepare [--utterance ID]             ask for a target; prints its token
  deliver TOKEN TEXT --utterance ID    send the text
  wait ID [--seconds N]                wait for the result (default 60)
  cancel ID                            take a delivery back that hasn't reached the Mac

Options:
  --json           one JSON object a line on standard output, errors too
  --state FOLDER   where this phone keeps its keys and pairs
                   (default: quillet-phone in the XDG data home)
  --mac MAC        a Mac's name or the start of its id; not needed when one is paired
  --yes            take the four words as compared, or the question as answered (for scripts)
  --words FOLDER   where word counts are shared with the Macs; a folder kept in step between
                   them ("" for none)
  --seconds N      how long "say" and "wait" wait for a result
  --               what follows are no options
  -h, --help, --version

Exit codes: 0 done, 1 failure on this machine, 2 wrong usage, 3 not set up or no such Mac,
4 service unreachable, 5 service refused or knows no such delivery, 6 the Mac refused,
7 uncertain (the text may have gone in: also when the delivery expired, or the service's answer
got lost), 8 pairing failed, 9 an answer could not be verified, 10 no result in time,
11 the delivery was cancelled (nothing went in), 12 too late to cancel.
After 7 and 10, "wait" with the utterance's id tells more.
)";

namespace {

constexpr std::array kValued{"state", "service", "name", "mac", "utterance", "seconds", "words"};
constexpr std::array kFlags{"yes", "help", "version"};
constexpr std::size_t kLongestName = 64;

struct Command {
  std::string_view name;
  std::size_t fewest, most;  ///< Operands.
  std::string_view operands;
  std::string_view options;  ///< Besides --json and --state.
};
constexpr std::array<Command, 15> kCommands{{{"init", 0, 0, "", "service name words"},
                                             {"pair", 1, 1, "code or invitation", "yes"},
                                             {"macs", 0, 0, "", ""},
                                             {"presence", 0, 0, "", ""},
                                             {"say", 1, 1, "text", "mac utterance seconds"},
                                             {"unpair", 0, 1, "", "mac"},
                                             {"revoke", 0, 1, "", "mac"},
                                             {"rename", 1, 1, "name", ""},
                                             {"words", 0, 0, "", ""},
                                             {"delete", 0, 0, "", "service yes"},
                                             {"reset", 0, 0, "", "yes"},
                                             {"prepare", 0, 0, "", "mac utterance"},
                                             {"deliver", 2, 2, "token or text", "mac utterance"},
                                             {"wait", 1, 1, "utterance's id", "mac seconds"},
                                             {"cancel", 1, 1, "utterance's id", "mac"}}};

PhoneError wrongUsage(const std::string& message) {
  return {PhoneExit::usage, message};
}

const Command& commandOf(const PhoneArguments& given) {
  const auto command =
      std::find_if(kCommands.begin(), kCommands.end(), [&](const Command& each) { return each.name == given.command; });
  if (given.command.empty()) throw wrongUsage("No command. Try \"quillet-phone --help\".");
  if (command == kCommands.end()) {
    throw wrongUsage("Unknown command \"" + given.command + "\". Try \"quillet-phone --help\".");
  }
  return *command;
}

void checkOptions(const PhoneArguments& given, const Command& command) {
  for (const auto& [name, value] : given.options) {
    const bool fits =
        name == "state" || (" " + std::string(command.options) + " ").find(" " + name + " ") != std::string::npos;
    if (!fits) throw wrongUsage("\"" + given.command + "\" has no use for \"--" + name + "\".");
  }
}

void checkOperands(const PhoneArguments& given, const Command& command) {
  const std::size_t count = given.operands.size();
  if (count < command.fewest) throw wrongUsage("The " + std::string(command.operands) + " is missing.");
  if (count > command.most) {
    throw wrongUsage("\"" + given.operands[command.most] + "\" is too much for \"" + given.command +
                     "\". A text of several words needs quotation marks.");
  }
}

/// An utterance's id goes into a path.
void checkId(const std::string& id) {
  if (!Identifier::canStandInPath(id)) throw wrongUsage("\"" + id + "\" can't be an utterance's id.");
}

/// What stands before a word that is no option, so that the library takes it as it is. No argument of a program can
/// hold it.
constexpr char kPlain = '\0';

/// Whether a word is an operand in spite of its dash: a text as "-5", or a token, of which every 64th begins with one.
bool isOperand(std::string_view word) {
  constexpr std::size_t kTokenLength = 22;
  constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
  if (word.size() < 2 || word[0] != '-' || word == "--" || word == "-h") return false;
  return word[1] != '-' || (word.size() == kTokenLength && word.find_first_not_of(kAlphabet) == word.npos);
}

/// The last word first, as the library wants them.
std::vector<std::string> forLibrary(const std::vector<std::string>& arguments) {
  std::vector<std::string> words(arguments.rbegin(), arguments.rend());
  for (auto& word : words) {
    if (isOperand(word)) word.insert(0, 1, kPlain);
  }
  return words;
}

std::string asGiven(const std::string& word) {
  return !word.empty() && word[0] == kPlain ? word.substr(1) : word;
}

}  // namespace

PhoneArguments PhoneArguments::parse(const std::vector<std::string>& arguments) {
  PhoneArguments parsed;
  CLI::App app;
  app.set_help_flag();  // ours is a flag like the others
  app.add_option("command", parsed.command);
  app.add_option("operands", parsed.operands);
  app.add_flag("--json", parsed.json);
  for (const std::string name : kFlags) app.add_flag(name == "help" ? "-h,--help" : "--" + name);
  for (const std::string name : kValued) app.add_option("--" + name);
  try {
    app.parse(forLibrary(arguments));
  } catch (const CLI::ParseError& error) {
    throw wrongUsage(error.what());
  }
  parsed.command = asGiven(parsed.command);
  std::transform(parsed.operands.begin(), parsed.operands.end(), parsed.operands.begin(), asGiven);
  for (const std::string name : kFlags) {
    if (app.count("--" + name) > 0) parsed.options[name] = "";
  }
  for (const std::string name : kValued) {
    const auto* option = app.get_option("--" + name);
    if (option->count() > 0) parsed.options[name] = asGiven(option->results().back());
  }
  return parsed;
}

void PhoneArguments::check() const {
  const Command& known = commandOf(*this);
  checkOptions(*this, known);
  checkOperands(*this, known);
  waitLimit();
  if (has("name")) deviceName(option("name"));
  if (command == "rename") deviceName(operands[0]);
  if (has("service")) Phone::serviceURL(option("service"));
  if (const auto folder = option("words"); !folder.empty() && !FolderLedgerStorage::folderFrom(folder)) {
    throw wrongUsage("\"" + folder + "\" is not an absolute path.");
  }
  if (has("utterance")) checkId(option("utterance"));
  if (command == "wait" || command == "cancel") checkId(operands[0]);
  if (command == "deliver" && !has("utterance")) throw wrongUsage("\"deliver\" needs --utterance ID.");
  const bool unpairs = command == "unpair" || command == "revoke";
  const bool namesMac = unpairs && !operands.empty();
  if (namesMac && has("mac")) throw wrongUsage("Name the Mac once: as the operand, or with --mac.");
  if ((has("mac") && option("mac").empty()) || (namesMac && operands[0].empty())) {
    throw wrongUsage("The Mac's name is empty.");
  }
  if (command == "say") checkText(operands[0]);
  if (command == "deliver") checkText(operands[1]);
  for (const auto& each : operands) {
    if (!Unicode::isValidUTF8(each)) throw wrongUsage("What is given is not UTF-8.");
  }
}

void PhoneArguments::checkText(const std::string& text) {
  constexpr std::string_view kNever("\0\x1B", 2);
  if (!Unicode::isValidUTF8(text)) throw wrongUsage("The text is not UTF-8.");
  if (text.find_first_of(kNever) != text.npos) throw wrongUsage("The text has NUL or escape characters.");
}

std::string PhoneArguments::option(const std::string& name, const std::string& fallback) const {
  const auto found = options.find(name);
  return found == options.end() ? fallback : found->second;
}

bool PhoneArguments::wantsHelp() const {
  return has("help") || command == "help";
}

Duration PhoneArguments::waitLimit() const {
  const std::string text = option("seconds", "60");
  int seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (error != std::errc() || end != text.data() + text.size() || seconds < 0) {
    throw wrongUsage("\"" + text + "\" is not a number of seconds.");
  }
  return std::chrono::seconds(seconds);
}

std::string PhoneArguments::deviceName(const std::string& given) {
  if (!Unicode::isValidUTF8(given)) throw wrongUsage("That is no name.");
  std::string name(Unicode::cutToClusters(Unicode::trim(given), kLongestName));
  if (name.empty()) throw wrongUsage("That is no name.");
  return name;
}

}  // namespace quillet
