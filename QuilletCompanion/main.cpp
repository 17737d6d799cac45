// SPDX-License-Identifier: MIT
#include <unistd.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QSocketNotifier>
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
#include "QuilletCompanion/Platform/Linux/KeyTypist.h"
#include "QuilletCompanion/Platform/Linux/LinuxDeviceModel.h"
#include "QuilletCompanion/Platform/Linux/LinuxScreenLockMonitor.h"
#include "QuilletCompanion/Platform/Linux/LinuxSystemEvents.h"
#include "QuilletCompanion/Platform/Linux/MainLoopExecutor.h"
#include "QuilletCompanion/Platform/Linux/SecretServiceStore.h"
#include "QuilletCompanion/Platform/Linux/SystemAccessibilityProvider.h"
#include "QuilletCompanion/Terminal/TerminalFrontEnd.h"
#include "QuilletKit/Log.h"

namespace {

using namespace quillet;

constexpr const char* kHelp =
    R"(usage: QuilletCompanion --terminal [--json] [-KEY VALUE ...]
       QuilletCompanion defaults read [KEY] | write KEY VALUE | delete KEY

Puts text from a paired phone into the text field that has the focus.

  --terminal   commands on standard input, events on standard output; type "help" there
  --json       one JSON object a line for every event and answer
  -KEY VALUE   a setting for this run only, for example
               -QLTServerURLOverride https://quillet.example   where the service is
               -QLTLogLevel debug|info|default|error           what goes to the log (default: info)
  defaults     reads and changes the lasting settings
  --help, --version

The log goes to standard error, or to the journal under systemd.
Exit codes: 0 ended as told, 1 failure, 2 wrong usage.
)";

std::optional<std::filesystem::path> userFolder(const char* variable, const char* underHome) {
  const char* set = std::getenv(variable);
  if (set != nullptr && *set == '/') return std::filesystem::path(set) / kBundleIdentifier;
  const char* home = std::getenv("HOME");
  if (home == nullptr || *home != '/') return std::nullopt;
  return std::filesystem::path(home) / underHome / kBundleIdentifier;
}

Log::Level logLevel(const UserDefaults& defaults) {
  const std::string name = defaults.string("QLTLogLevel").value_or("info");
  if (name == "debug") return Log::Level::debug;
  if (name == "default") return Log::Level::standard;
  if (name == "error") return Log::Level::error;
  return Log::Level::info;
}

/// The keyring where there is one, unless this machine's keys are in a file already.
std::unique_ptr<SecretStore> openSecretStore(const std::optional<std::filesystem::path>& supportFolder) {
  const std::string service(kBundleIdentifier);
  if (!supportFolder) return std::make_unique<MemorySecretStore>();
  auto files = std::make_unique<FileSecretStore>(*supportFolder / "secrets", service);
  try {
    if (!files->load("device.signing.v1") && SecretServiceStore::available()) {
      return std::make_unique<SecretServiceStore>(service);
    }
  } catch (const SecretStoreError&) {
    return files;  // reports the same again when the identity is loaded
  }
  return files;
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

/// Feeds whole lines of standard input to a function. At the end of a terminal or a pipe it asks to quit; a program
/// started with no input at all goes on.
class LineInput {
 public:
  LineInput(std::function<void(std::string_view)> line, std::function<void()> end)
      : line_(std::move(line)), end_(std::move(end)), notifier_(STDIN_FILENO, QSocketNotifier::Read) {
    QObject::connect(&notifier_, &QSocketNotifier::activated, [this] { readSome(); });
  }

 private:
  void readSome() {
    char buffer[4096];
    const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
    if (count <= 0) {
      notifier_.setEnabled(false);
      if (everRead_ || isatty(STDIN_FILENO) != 0) end_();
      return;
    }
    everRead_ = true;
    pending_.append(buffer, static_cast<std::size_t>(count));
    for (auto end = pending_.find('\n'); end != std::string::npos; end = pending_.find('\n')) {
      const std::string line = pending_.substr(0, end);
      pending_.erase(0, end + 1);
      line_(line);
    }
  }

  std::function<void(std::string_view)> line_;
  std::function<void()> end_;
  QSocketNotifier notifier_;
  std::string pending_;
  bool everRead_ = false;
};

void print(const std::string& line) {
  std::cout << line << std::endl;
}

/// Lets what was suspended in the model end before what it refers to goes away; an insertion that runs, too.
void drain(std::shared_ptr<AppModel> model) {
  model->stopServices();
  const std::weak_ptr<AppModel> left = model;
  const QDeadlineTimer deadline(1000);
  const auto serve = [] { QCoreApplication::processEvents(QEventLoop::AllEvents, 10); };
  while (model->isFinishing() && !deadline.hasExpired()) serve();
  model.reset();
  while (!left.expired() && !deadline.hasExpired()) serve();
  QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
}

int runTerminal(QCoreApplication& app, UserDefaults& defaults, TerminalFrontEnd::Style style) {
  const auto supportFolder = userFolder("XDG_DATA_HOME", ".local/share");
  const auto secretStore = openSecretStore(supportFolder);
  MainLoop mainLoop;
  NetworkThread network;
  HTTPSession session(network.executor());
  LinuxScreenLockMonitor lockMonitor;
  LinuxSystemEvents systemEvents;
  KeyTypist keyTypist;
  SystemAccessibilityProvider provider(static_cast<std::int32_t>(::getpid()), lockMonitor, keyTypist);
  provider.enableAccessibility();
  const LinuxDeviceModel machine;
  const DeviceModel deviceModel([&] { return machine.modelName(); }, [&] { return machine.hasBattery(); });

  auto model = std::make_shared<AppModel>(AppModelParts{
      .mainThread = mainLoop.executor(),
      .time = systemTime(network.executor()),
      .provider = provider,
      .lockMonitor = lockMonitor,
      .systemEvents = systemEvents,
      .secretStore = *secretStore,
      .defaults = defaults,
      .session = session,
      .supportFolder = supportFolder,
      .hostName = QSysInfo::machineHostName().toStdString(),
      .appVersion = QUILLET_VERSION " (0)",
      .bundleServiceURL = std::nullopt,
      .deviceKind = [&] { return deviceModel.kind(); },
  });
  provider.onFocusChange = [&](const ElementRef& element) { model->focusChanged(element); };
  provider.onFrontWindowChange = [&] { model->frontWindowChanged(); };

  boost::asio::signal_set signals(network.executor(), SIGINT, SIGTERM);
  signals.async_wait([](const boost::system::error_code& error, int) {
    if (!error) QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
  });
  int code = 0;
  {
    TerminalFrontEnd front(*model, style, &print, [] { QCoreApplication::quit(); });
    LineInput input([&](std::string_view line) { front.handleLine(line); }, [] { QCoreApplication::quit(); });
    model->start();
    code = app.exec();
  }
  provider.onFocusChange = nullptr;
  provider.onFrontWindowChange = nullptr;
  drain(std::move(model));
  return code;
}

int usageError(const std::string& message) {
  std::cerr << "QuilletCompanion: " << message << " Try \"QuilletCompanion --help\"." << std::endl;
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  QCoreApplication::setApplicationName("QuilletCompanion");
  std::vector<std::string> arguments(argv + 1, argv + argc);
  const auto settingsFolder = userFolder("XDG_CONFIG_HOME", ".config");
  std::optional<std::filesystem::path> settingsFile;
  if (settingsFolder) settingsFile = *settingsFolder / "defaults.json";
  if (!arguments.empty() && arguments[0] == "defaults") {
    UserDefaults defaults(settingsFile);
    return runDefaultsCommand(defaults, {arguments.begin() + 1, arguments.end()}, std::cout, std::cerr);
  }
  UserDefaults defaults(settingsFile, UserDefaults::takeArgumentDomain(arguments));
  Log::configure(logLevel(defaults), "QuilletCompanion");
  bool terminal = false;
  auto style = TerminalFrontEnd::Style::people;
  for (const auto& argument : arguments) {
    if (argument == "--help") return std::cout << kHelp, 0;
    if (argument == "--version") return print("QuilletCompanion " QUILLET_VERSION), 0;
    if (argument == "--terminal") {
      terminal = true;
    } else if (argument == "--json") {
      style = TerminalFrontEnd::Style::json;
    } else {
      return usageError("Unknown argument \"" + argument + "\".");
    }
  }
  if (!terminal) return usageError("There are no windows yet; start with --terminal.");
  return runTerminal(app, defaults, style);
}
