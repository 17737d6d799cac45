// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletCompanion/Program/Program.h"
#include "QuilletCompanion/Terminal/TerminalOutput.h"

namespace quillet {

/// Runs the program with the standard files as its front; gives the exit code.
int runInTerminal(Program& program, TerminalOutput::Style style);

}  // namespace quillet
