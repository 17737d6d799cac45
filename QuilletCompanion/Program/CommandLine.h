// SPDX-License-Identifier: MIT
#pragma once

#include <boost/json/object.hpp>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

#include "QuilletCompanion/Terminal/TerminalOutput.h"

namespace quillet {

/// What a start of the program is asked for.
namespace CommandLine {

/// An icon in the tray, and windows. `settings` are for this run only.
struct Windows {
  boost::json::object settings{};
};
/// Commands on standard input, events on standard output.
struct Terminal {
  TerminalOutput::Style style = TerminalOutput::Style::people;
  boost::json::object settings{};
};
/// To read or change the lasting settings: "read", "write" or "delete" with its words.
struct Settings {
  std::vector<std::string> words;
};
/// Answered already.
struct Answered {
  int exitCode = 0;
};
using Request = std::variant<Answered, Windows, Terminal, Settings>;

/// `arguments` without the program's name. Help goes to `out`, what is wrong with them to `err`.
Request parse(std::vector<std::string> arguments, std::ostream& out, std::ostream& err);

}  // namespace CommandLine
}  // namespace quillet
