// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Program/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "QuilletCompanion/App/UserDefaults.h"

namespace quillet::CommandLine {
namespace {

constexpr int kUsage = 2;

constexpr const char* kFooter =
    R"(A setting for this run only is given as -KEY VALUE, for example
  -QLTServerURLOverride https://quillet.example   where the service is
  -QLTLogLevel debug|info|default|error           what goes to the log (default: info)
  -wordLedgerFolder ~/Sync/quillet                where your devices share word counts

The log goes to standard error, or to the journal under systemd.
Exit codes: 0 ended as told, 1 failure, or it is running already, 2 wrong usage.)";

int usageError(std::ostream& err, const std::string& message) {
  err << "QuilletCompanion: " << message << " Try \"QuilletCompanion --help\"." << std::endl;
  return kUsage;
}

/// What CLI11 says, as a sentence.
std::string sentence(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '.')) text.pop_back();
  return text + ".";
}

}  // namespace

Request parse(std::vector<std::string> arguments, std::ostream& out, std::ostream& err) {
  // Words of a settings command may look like settings for this run.
  const bool isSettingsCommand = !arguments.empty() && arguments[0] == "defaults";
  boost::json::object forThisRun;
  if (!isSettingsCommand) forThisRun = UserDefaults::takeArgumentDomain(arguments);

  CLI::App app("Puts spoken text into the text field that has the focus. Lives as an icon in the tray.",
               "QuilletCompanion");
  app.footer(kFooter);
  bool inTerminal = false, asJSON = false;
  app.set_version_flag("--version", "QuilletCompanion " QUILLET_VERSION);
  app.add_flag("--terminal", inTerminal,
               "no icon and no windows: commands on standard input, events on standard output; type \"help\" there");
  app.add_flag("--json", asJSON, "with --terminal: one JSON object a line for every event and answer");
  auto* settings = app.add_subcommand("defaults", "the lasting settings: read [KEY] | write KEY VALUE | delete KEY");
  settings->prefix_command();
  try {
    std::reverse(arguments.begin(), arguments.end());  // as CLI11 takes them
    app.parse(std::move(arguments));
  } catch (const CLI::Success& answer) {
    return Answered{app.exit(answer, out, err)};
  } catch (const CLI::ParseError& error) {
    return Answered{usageError(err, sentence(error.what()))};
  }
  if (settings->parsed()) {
    if (inTerminal || asJSON || !forThisRun.empty()) {
      return Answered{usageError(err, "\"defaults\" takes no options.")};
    }
    return Settings{settings->remaining()};
  }
  if (asJSON && !inTerminal) {
    return Answered{usageError(err, "\"--json\" is for the terminal: start with --terminal.")};
  }
  if (!inTerminal) return Windows{std::move(forThisRun)};
  return Terminal{asJSON ? TerminalOutput::Style::json : TerminalOutput::Style::people, std::move(forThisRun)};
}

}  // namespace quillet::CommandLine
