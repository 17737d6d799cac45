// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QSysInfo>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <thread>

#include "QuilletCompanion/App/AppModel.h"
#include "QuilletCompanion/App/DefaultsCommand.h"
#include "QuilletCompanion/App/DeviceModel.h"
#include "QuilletCompanion/Platform/Linux/Accessibility/SystemAccessibilityProvider.h"
#include "QuilletCompanion/Platform/Linux/Session/AutostartItem.h"
#include "QuilletCompanion/Platform/Linux/Session/InstanceLock.h"
#include "QuilletCompanion/Platform/Linux/Session/LinuxDeviceModel.h"
#include "QuilletCompanion/Platform/Linux/Session/LinuxScreenLockMonitor.h"
#include "QuilletCompanion/Platform/Linux/Session/LinuxSystemEvents.h"
#include "QuilletCompanion/Platform/Linux/Storage/FolderWatch.h"
#include "QuilletCompanion/Platform/Linux/Storage/SystemSecretStore.h"
#include "QuilletCompanion/Platform/Linux/Typing/KeyTypist.h"
#include "QuilletCompanion/Platform/Qt/LineInput.h"
#include "QuilletCompanion/Platform/Qt/MainLoopExecutor.h"
#include "QuilletCompanion/Platform/Qt/MainLoopTimers.h"
#include "QuilletCompanion/Terminal/LineWriter.h"
#include "QuilletCompanion/Terminal/TerminalFrontEnd.h"
#include "QuilletKit/Base/Log.h"
#include "QuilletKit/Words/BackgroundLedgerStorage.h"
#include "QuilletKit/Words/FolderLedgerStorage.h"

namespace {

using namespace quillet;

constexpr int kFailure = 1;
constexpr int kUsage = 2;

constexpr const char* kHelp =
    R"(usage: QuilletCompanion --terminal [--json] [-KEY VALUE ...]
       QuilletCompanion defaults read [KEY] | write KEY VALUE | delete KEY

Puts text from a paired phone into the text field that has the focus.

  --terminal   commands on standard input, events on standard output; type "help" there
  --json       one JSON object a line for every event and answer
  -KEY VALUE   a setting for this run only, for example
               -QLTServerURLOverride https://quillet.example   where the service is
               -QLTLogLevel debug|info|default|error           what goes to the log (default: info)
               -wordLedgerFolder ~/Sync/quillet                where your devices share word counts
  defaults     reads and changes the lasting settings
  --help, --version

The log goes to standard error, or to the journal under systemd.
Exit codes: 0 ended as told, 1 failure, or it is running already, 2 wrong usage.
)";

/// One of the user's base folders by the XDG rules.
std::optional<std::filesystem::path> baseFolder(const char* variable, const char* underHome) {
  const char* set = std::getenv(variable);
  if (set != nullptr && *set == '/') return std::filesystem::path(set);
  const char* home = std::getenv("HOME");
  if (home == nullptr || *home != '/') return std::nullopt;
  return std::filesystem::path(home) / underHome;
}

std::optional<std::filesystem::path> configFolder() {
  return baseFolder("XDG_CONFIG_HOME", ".config");
}

std::optional<std::filesystem::path> ofOurs(std::optional<std::filesystem::path> base) {
  if (base) *base /= kBundleIdentifier;
  return base;
}

Log::Level logLevel(const UserDefaults& defaults) {
  const std::string name = defaults.string("QLTLogLevel").value_or("info");
  if (name == "debug") return Log::Level::debug;
  if (name == "default") return Log::Level::standard;
  if (name == "error") return Log::Level::error;
  return Log::Level::info;
}

std::unique_ptr<SecretStore> openSecretStore(const std::optional<std::filesystem::path>& supportFolder) {
  if (!supportFolder) return std::make_unique<MemorySecretStore>();
  return openSystemSecretStore(*supportFolder / "secrets", std::string(kBundleIdentifier));
}

/// Sockets and timers, on a thread of their own.
class NetworkThread {
 public:
  NetworkThread() : thread_([this] { context_.run(); }) {}
  ~NetworkThread() {
    work_.reset();
    context_.stop();
    thread_.join();
  }
  Executor executor() { return context_.get_executor(); }

 private:
  boost::asio::io_context context_;
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_{context_.get_executor()};
  std::thread thread_;
};

void print(const std::string& line) {
  std::cout << line << std::endl;
}

/// Who starts us may have closed the standard files. What we open then gets their numbers, and our lines.
void fillStandardFiles() {
  for (int file = STDIN_FILENO; file <= STDERR_FILENO; ++file) {
    if (::fcntl(file, F_GETFD) < 0) ::open("/dev/null", O_RDWR);
  }
}

int usageError(const std::string& message) {
  std::cerr << "QuilletCompanion: " << message << " Try \"QuilletCompanion --help\"." << std::endl;
  return kUsage;
}

/// Serves the event loop until the condition holds, for a second at most.
template <typename Condition>
void serveUntil(Condition condition) {
  const QDeadlineTimer deadline(1000);
  while (!condition() && !deadline.hasExpired()) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

/// Lets what was suspended in the model end before what it refers to goes away. An insertion that takes long is broken
/// off.
void drain(std::shared_ptr<AppModel> model) {
  model->stopServices();
  serveUntil([&] { return !model->isFinishing(); });
  model->abandonInsertions();
  serveUntil([&] { return !model->isFinishing(); });
  const std::weak_ptr<AppModel> left = model;
  model.reset();
  serveUntil([&] { return left.expired(); });
  QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
}

/// The program on this desktop: adapters, model, and the terminal in front of it.
class Program {
 public:
  Program(UserDefaults& defaults, std::optional<std::filesystem::path> supportFolder)
      : defaults_(defaults),
        supportFolder_(std::move(supportFolder)),
        secretStore_(openSecretStore(supportFolder_)),
        loginItem_(configFolder(), std::string(kBundleIdentifier),
                   {QCoreApplication::applicationFilePath().toStdString(), "--terminal"}) {
    provider_.enableAccessibility();
    if (const auto folder = FolderLedgerStorage::folderFrom(defaults_.string("wordLedgerFolder"))) shareWords(*folder);
  }

  int run(QCoreApplication& app, TerminalFrontEnd::Style style) {
    LineWriter output(STDOUT_FILENO, [style](std::size_t lost) { return TerminalOutput::lostLines(style, lost); });
    auto model = std::make_shared<AppModel>(parts());
    boost::asio::signal_set signals(network_.executor(), SIGINT, SIGTERM, SIGHUP);
    signals.async_wait([](const boost::system::error_code& error, int) {
      if (!error) QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    });
    const int code = runFront(app, *model, style, output);
    drain(std::move(model));
    return code;
  }
  bool restartWanted() const { return restartWanted_; }

 private:
  int runFront(QCoreApplication& app, AppModel& model, TerminalFrontEnd::Style style, LineWriter& output) {
    const auto print = [&output](std::string line) { output.print(std::move(line)); };
    TerminalFrontEnd front(model, mainLoop_.executor(), style, print, [] { QCoreApplication::quit(); });
    LineInput input([&](std::string_view line) { front.handleLine(line); }, [&] { front.endOfInput(); });
    model.start();
    return app.exec();
  }

  void shareWords(const std::filesystem::path& folder) {
    auto storage = std::make_unique<FolderLedgerStorage>(folder);
    wordLedgers_ = std::make_unique<BackgroundLedgerStorage>(std::move(storage), mainLoop_.executor());
    wordFolder_.emplace(folder, [this] { wordLedgers_->refresh(); });
  }

  AppModelParts parts() {
    return {.mainThread = mainLoop_.executor(),
            .time = timers_.lasting(systemTime(network_.executor())),
            .provider = provider_,
            .isGrantStale = [this] { return provider_.isGrantStale(); },
            .promptForAccessibility = [this] { provider_.enableAccessibility(); },
            .lockMonitor = lockMonitor_,
            .systemEvents = systemEvents_,
            .loginItem = loginItem_,
            .secretStore = *secretStore_,
            .defaults = defaults_,
            .session = session_,
            .supportFolder = supportFolder_,
            .hostName = QSysInfo::machineHostName().toStdString(),
            .appVersion = QUILLET_VERSION " (0)",
            .operatingSystem = QSysInfo::prettyProductName().toStdString(),
            .hardwareModel = machine_.modelName().value_or("Mac"),
            .bundleServiceURL = std::nullopt,
            .deviceKind = [this] { return deviceModel_.kind(); },
            .wordLedgers = wordLedgers_.get(),
            .restart =
                [this] {
                  restartWanted_ = true;
                  QCoreApplication::quit();
                }};
  }

  UserDefaults& defaults_;
  const std::optional<std::filesystem::path> supportFolder_;
  std::unique_ptr<SecretStore> secretStore_;
  MainLoop mainLoop_;
  MainLoopTimers timers_{mainLoop_.executor()};
  NetworkThread network_;
  HTTPSession session_{network_.executor()};
  LinuxScreenLockMonitor lockMonitor_;
  LinuxSystemEvents systemEvents_;
  KeyTypist keyTypist_;
  SystemAccessibilityProvider provider_{static_cast<std::int32_t>(::getpid()), lockMonitor_, keyTypist_};
  const LinuxDeviceModel machine_;
  const DeviceModel deviceModel_{[this] { return machine_.modelName(); }, [this] { return machine_.hasBattery(); }};
  AutostartItem loginItem_;
  std::unique_ptr<BackgroundLedgerStorage> wordLedgers_;
  std::optional<FolderWatch> wordFolder_;
  bool restartWanted_ = false;
};

struct Options {
  bool terminal = false;
  TerminalFrontEnd::Style style = TerminalFrontEnd::Style::people;
};

int runProgram(QCoreApplication& app, UserDefaults& defaults, const Options& options, bool& restart) {
  const auto supportFolder = ofOurs(baseFolder("XDG_DATA_HOME", ".local/share"));
  std::optional<InstanceLock> lock;
  if (supportFolder) lock.emplace(*supportFolder);
  if (lock && !lock->isHeld()) {
    std::cerr << "QuilletCompanion: Quillet is running already." << std::endl;
    return kFailure;
  }
  Program program(defaults, supportFolder);
  const int code = program.run(app, options.style);
  restart = program.restartWanted();
  return code;
}

/// The exit code when the command line is answered at once; absent for a run of the program.
std::optional<int> readArguments(const std::vector<std::string>& arguments, Options& options) {
  for (const auto& argument : arguments) {
    if (argument == "--help") return std::cout << kHelp, 0;
    if (argument == "--version") return print("QuilletCompanion " QUILLET_VERSION), 0;
    if (argument == "--terminal") {
      options.terminal = true;
    } else if (argument == "--json") {
      options.style = TerminalFrontEnd::Style::json;
    } else if (argument.starts_with('-') && !argument.starts_with("--")) {
      return usageError("\"" + argument + "\" needs a value.");
    } else {
      return usageError("Unknown argument \"" + argument + "\".");
    }
  }
  if (!options.terminal) return usageError("There are no windows yet; start with --terminal.");
  return std::nullopt;
}

}  // namespace

int main(int argc, char** argv) {
  fillStandardFiles();
  // Where a new version will lie by the time of a restart.
  std::error_code unknown;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", unknown);
  bool restart = false;
  int code = 0;
  {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName("QuilletCompanion");
    std::vector<std::string> arguments(argv + 1, argv + argc);
    std::optional<std::filesystem::path> settingsFile;
    if (const auto folder = ofOurs(configFolder())) settingsFile = *folder / "defaults.json";
    if (!arguments.empty() && arguments[0] == "defaults") {
      UserDefaults defaults(settingsFile);
      return runDefaultsCommand(defaults, {arguments.begin() + 1, arguments.end()}, std::cout, std::cerr);
    }
    UserDefaults defaults(settingsFile, UserDefaults::takeArgumentDomain(arguments));
    Options options;
    if (const auto answered = readArguments(arguments, options)) return *answered;
    std::signal(SIGPIPE, SIG_IGN);
    Log::configure(logLevel(defaults), "QuilletCompanion");
    code = runProgram(app, defaults, options, restart);
  }
  if (!restart) return code;
  // The same process with the same terminal, once everything of this run is gone.
  ::execv(program.c_str(), argv);
  ::execv("/proc/self/exe", argv);
  std::cerr << "QuilletCompanion: could not start anew." << std::endl;
  return kFailure;
}
