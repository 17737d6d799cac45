// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Program/TerminalFront.h"

#include <unistd.h>

#include <QCoreApplication>

#include "QuilletCompanion/App/AppModelParts.h"
#include "QuilletCompanion/Platform/Linux/Session/ApplicationName.h"
#include "QuilletCompanion/Platform/Qt/LineInput.h"
#include "QuilletCompanion/Terminal/LineWriter.h"
#include "QuilletCompanion/Terminal/TerminalFrontEnd.h"

namespace quillet {
namespace {

class TerminalFront final : public Program::Front {
 public:
  TerminalFront(AppModel& model, Executor mainThread, TerminalOutput::Style style, LineWriter& output)
      : frontEnd_(
            model, std::move(mainThread), style, [&output](std::string line) { output.print(std::move(line)); },
            [] { QCoreApplication::quit(); }) {}

 private:
  TerminalFrontEnd frontEnd_;
  ApplicationName name_{std::string(kBundleIdentifier), ApplicationName::Answer::hasNoWindows,
                        [this] { frontEnd_.startedAgain(); }};
  LineInput input_{[this](std::string_view line) { frontEnd_.handleLine(line); }, [this] { frontEnd_.endOfInput(); }};
};

}  // namespace

int runInTerminal(Program& program, TerminalOutput::Style style) {
  // Ends after the model has: a reader who is slow then holds up nothing.
  LineWriter output(STDOUT_FILENO, [style](std::size_t lost) { return TerminalOutput::lostLines(style, lost); });
  return program.run([&](AppModel& model, Executor mainThread) {
    return std::make_unique<TerminalFront>(model, std::move(mainThread), style, output);
  });
}

}  // namespace quillet
