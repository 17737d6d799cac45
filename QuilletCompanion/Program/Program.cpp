// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Program/Program.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QSysInfo>
#include <boost/asio/signal_set.hpp>
#include <csignal>

#include "QuilletCompanion/Platform/Linux/Storage/SystemSecretStore.h"
#include "QuilletCompanion/Program/UserFolders.h"
#include "QuilletKit/Words/FolderLedgerStorage.h"

namespace quillet {
namespace {

std::unique_ptr<SecretStore> openSecretStore(const std::optional<std::filesystem::path>& supportFolder) {
  if (!supportFolder) return std::make_unique<MemorySecretStore>();
  return openSystemSecretStore(*supportFolder / "secrets", std::string(kBundleIdentifier));
}

/// What shows the windows, whichever front this run has.
std::vector<std::string> launchCommand() {
  return {(QCoreApplication::applicationDirPath() + "/QuilletCompanion").toStdString()};
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

}  // namespace

Program::Program(UserDefaults& defaults, std::optional<std::filesystem::path> supportFolder)
    : defaults_(defaults),
      supportFolder_(std::move(supportFolder)),
      secretStore_(openSecretStore(supportFolder_)),
      loginItem_(UserFolders::config(), std::string(kBundleIdentifier), launchCommand()) {
  // An older version's entry started another front.
  if (loginItem_.isEnabled()) loginItem_.setEnabled(true);
  provider_.enableAccessibility();
  keyTypist_.announceTo(dictation_.typingWitness());
  if (const auto folder = FolderLedgerStorage::folderFrom(defaults_.string("wordLedgerFolder"))) shareWords(*folder);
}

void Program::shareWords(const std::filesystem::path& folder) {
  auto storage = std::make_unique<FolderLedgerStorage>(folder);
  wordLedgers_ = std::make_unique<BackgroundLedgerStorage>(std::move(storage), mainLoop_.executor());
  wordFolder_.emplace(folder, [this] { wordLedgers_->refresh(); });
}

int Program::run(const MakeFront& makeFront) {
  auto model = std::make_shared<AppModel>(parts());
  boost::asio::signal_set signals(network_.executor(), SIGINT, SIGTERM, SIGHUP);
  signals.async_wait([](const boost::system::error_code& error, int) {
    if (!error) QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
  });
  const int code = serve(*model, makeFront);
  model->willEnd();
  drain(std::move(model));
  return code;
}

int Program::serve(AppModel& model, const MakeFront& makeFront) {
  const auto front = makeFront(model, mainLoop_.executor());
  model.start();
  front->start();
  return QCoreApplication::exec();
}

AppModelParts Program::parts() {
  return {.mainThread = mainLoop_.executor(),
          .time = timers_.lasting(systemTime(network_.executor())),
          .appVersion = QUILLET_VERSION " (0)",
          .machine = {.hostName = QSysInfo::machineHostName().toStdString(),
                      .operatingSystem = QSysInfo::prettyProductName().toStdString(),
                      .hardwareModel = machine_.modelName().value_or("Mac"),
                      .kind = [this] { return deviceModel_.kind(); }},
          .accessibility = {.provider = provider_,
                            .isGrantStale = [this] { return provider_.isGrantStale(); },
                            .prompt = [this] { provider_.enableAccessibility(); }},
          .desktop = {.lockMonitor = lockMonitor_,
                      .events = systemEvents_,
                      .loginItem = loginItem_,
                      .restart =
                          [this] {
                            restartWanted_ = true;
                            QCoreApplication::quit();
                          }},
          .secrets = {.store = *secretStore_, .thread = secretThread_.get_executor()},
          .storage = {.defaults = defaults_, .folder = supportFolder_, .wordLedgers = wordLedgers_.get()},
          .network = {.session = session_, .bundleServiceURL = QUILLET_SERVICE_URL},
          .dictation = dictation_.platform()};
}

}  // namespace quillet
