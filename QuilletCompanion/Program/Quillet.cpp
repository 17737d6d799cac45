// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Program/Quillet.h"

#include <fcntl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <csignal>
#include <cstdlib>
#include <iostream>

#include "QuilletCompanion/App/DefaultsCommand.h"
#include "QuilletCompanion/Platform/Linux/Accessibility/AccessibilityBus.h"
#include "QuilletCompanion/Platform/Linux/Session/ApplicationName.h"
#include "QuilletCompanion/Platform/Linux/Session/InstanceLock.h"
#include "QuilletCompanion/Program/CommandLine.h"
#include "QuilletCompanion/Program/PrivateMemory.h"
#include "QuilletCompanion/Program/Program.h"
#include "QuilletCompanion/Program/TerminalFront.h"
#include "QuilletCompanion/Program/UserFolders.h"
#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Base/Log.h"

namespace quillet {
namespace {

constexpr int kFailure = 1;
constexpr int kUsage = 2;

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
  return Log::levelNamed(defaults.string("QLTLogLevel").value_or("")).value_or(Log::Level::info);
}

int failure(const char* message) {
  std::cerr << "QuilletCompanion: " << message << std::endl;
  return kFailure;
}

int usageError(const char* message) {
  failure(message);
  return kUsage;
}

bool hasDisplay() {
  const auto isSet = [](const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr && *value != '\0';
  };
  return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY") || isSet("QT_QPA_PLATFORM");
}

/// Where this program lies, also where a new version will lie by the time of a restart.
std::filesystem::path ownPath() {
  std::error_code unknown;
  return std::filesystem::read_symlink("/proc/self/exe", unknown);
}

/// Becomes the program that has windows. Comes back only if that is impossible.
int becomeWindows(char** argv) {
  if (!hasDisplay()) return usageError("There is no display for windows; start with --terminal.");
  ::execv((ownPath().parent_path() / "QuilletWindows").c_str(), argv);
  return failure("The windows are not installed; start with --terminal.");
}

/// A front that the desktop, and a second start, can reach.
class NamedFront final : public WindowsFront {
 public:
  explicit NamedFront(std::unique_ptr<WindowsFront> front) : front_(std::move(front)) {}
  void start() override { front_->start(); }
  void activate() override { front_->activate(); }

 private:
  std::unique_ptr<WindowsFront> front_;
  ApplicationName name_{std::string(kBundleIdentifier), ApplicationName::Answer::shows, [this] { activate(); }};
};

int runWindows(Program& program, const WindowsMaker& windows) {
  return program.run([&](AppModel& model, Executor mainThread) {
    return std::make_unique<NamedFront>(windows.front(model, std::move(mainThread), &Clock::now));
  });
}

struct Outcome {
  int exitCode = 0;
  bool restart = false;
};

/// `onSecondStart`: whether the program that runs already could be told.
Outcome serve(const boost::json::object& settings, const std::function<int(Program&)>& run,
              const std::function<bool()>& onSecondStart) {
  QCoreApplication::setApplicationName("QuilletCompanion");
  UserDefaults defaults(settingsFile(), settings);
  std::signal(SIGPIPE, SIG_IGN);
  Log::configure(logLevel(defaults), "QuilletCompanion");
  const auto supportFolder = UserFolders::ownData();
  std::optional<InstanceLock> lock;
  if (supportFolder) lock.emplace(*supportFolder);
  if (lock && !lock->isHeld()) {
    return {onSecondStart() ? EXIT_SUCCESS : failure("Quillet is running already.")};
  }
  Program program(defaults, supportFolder);
  const int code = run(program);
  return {code, program.restartWanted()};
}

int changeSettings(const CommandLine::Settings& request) {
  UserDefaults defaults(settingsFile());
  return runDefaultsCommand(defaults, request.words, std::cout, std::cerr);
}

/// The same process with the same terminal, once everything of this run is gone.
int startAnew(const std::filesystem::path& program, char** argv) {
  ::execv(program.c_str(), argv);
  ::execv("/proc/self/exe", argv);
  return failure("could not start anew.");
}

}  // namespace

int runQuillet(int argc, char** argv, const WindowsMaker* windows) {
  keepMemoryPrivate();
  fillStandardFiles();
  AccessibilityBus::reserveEnvironment();
  const std::filesystem::path program = ownPath();
  const auto request = CommandLine::parse({argv + 1, argv + argc}, std::cout, std::cerr);
  if (const auto* answered = std::get_if<CommandLine::Answered>(&request)) return answered->exitCode;
  if (const auto* settings = std::get_if<CommandLine::Settings>(&request)) return changeSettings(*settings);
  Outcome outcome;
  if (const auto* terminal = std::get_if<CommandLine::Terminal>(&request)) {
    QCoreApplication app(argc, argv);
    outcome = serve(
        terminal->settings, [&](Program& made) { return runInTerminal(made, terminal->style); }, [] { return false; });
  } else if (windows != nullptr) {
    const auto app = windows->application(argc, argv);
    outcome = serve(
        std::get<CommandLine::Windows>(request).settings, [&](Program& made) { return runWindows(made, *windows); },
        [] { return ApplicationName::activate(std::string(kBundleIdentifier)); });
  } else {
    return becomeWindows(argv);
  }
  return outcome.restart ? startAnew(program, argv) : outcome.exitCode;
}

}  // namespace quillet
