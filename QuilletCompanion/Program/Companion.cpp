// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Program/Companion.h"

#include <fcntl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <csignal>
#include <iostream>

#include "QuilletCompanion/App/DefaultsCommand.h"
#include "QuilletCompanion/Platform/Linux/Session/InstanceLock.h"
#include "QuilletCompanion/Program/CommandLine.h"
#include "QuilletCompanion/Program/Program.h"
#include "QuilletCompanion/Program/TerminalFront.h"
#include "QuilletCompanion/Program/UserFolders.h"
#include "QuilletKit/Base/Log.h"

namespace quillet {
namespace {

constexpr int kFailure = 1;

/// Who starts us may have closed the standard files. What we open then gets their numbers, and our lines.
void fillStandardFiles() {
  for (int file = STDIN_FILENO; file <= STDERR_FILENO; ++file) {
    if (::fcntl(file, F_GETFD) < 0) ::open("/dev/null", O_RDWR);
  }
}

std::optional<std::filesystem::path> settingsFile() {
  auto file = UserFolders::ownConfig();
  if (file) *file /= "defaults.json";
  return file;
}

Log::Level logLevel(const UserDefaults& defaults) {
  const std::string name = defaults.string("QLTLogLevel").value_or("info");
  if (name == "debug") return Log::Level::debug;
  if (name == "default") return Log::Level::standard;
  if (name == "error") return Log::Level::error;
  return Log::Level::info;
}

int failure(const char* message) {
  std::cerr << "QuilletCompanion: " << message << std::endl;
  return kFailure;
}

struct Outcome {
  int exitCode = 0;
  bool restart = false;
};

Outcome run(const CommandLine::Terminal& request) {
  UserDefaults defaults(settingsFile(), request.settings);
  Log::configure(logLevel(defaults), "QuilletCompanion");
  const auto supportFolder = UserFolders::ownData();
  std::optional<InstanceLock> lock;
  if (supportFolder) lock.emplace(*supportFolder);
  if (lock && !lock->isHeld()) return {failure("Quillet is running already.")};
  Program program(defaults, supportFolder, {"--terminal"});
  const int code = runInTerminal(program, request.style);
  return {code, program.restartWanted()};
}

int run(const CommandLine::Settings& request) {
  UserDefaults defaults(settingsFile());
  return runDefaultsCommand(defaults, request.words, std::cout, std::cerr);
}

}  // namespace

int runCompanion(int argc, char** argv) {
  fillStandardFiles();
  // Where a new version will lie by the time of a restart.
  std::error_code unknown;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", unknown);
  const auto request = CommandLine::parse({argv + 1, argv + argc}, std::cout, std::cerr);
  if (const auto* answered = std::get_if<CommandLine::Answered>(&request)) return answered->exitCode;
  if (const auto* settings = std::get_if<CommandLine::Settings>(&request)) return run(*settings);
  std::signal(SIGPIPE, SIG_IGN);
  Outcome outcome;
  {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName("QuilletCompanion");
    outcome = run(std::get<CommandLine::Terminal>(request));
  }
  if (!outcome.restart) return outcome.exitCode;
  // The same process with the same terminal, once everything of this run is gone.
  ::execv(program.c_str(), argv);
  ::execv("/proc/self/exe", argv);
  return failure("could not start anew.");
}

}  // namespace quillet
