// SPDX-License-Identifier: MIT
#pragma once

#include <unistd.h>

#include <boost/asio/thread_pool.hpp>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "QuilletCompanion/App/AppModel.h"
#include "QuilletCompanion/App/DeviceModel.h"
#include "QuilletCompanion/Platform/Linux/Accessibility/SystemAccessibilityProvider.h"
#include "QuilletCompanion/Platform/Linux/Session/AutostartItem.h"
#include "QuilletCompanion/Platform/Linux/Session/LinuxDeviceModel.h"
#include "QuilletCompanion/Platform/Linux/Session/LinuxScreenLockMonitor.h"
#include "QuilletCompanion/Platform/Linux/Session/LinuxSystemEvents.h"
#include "QuilletCompanion/Platform/Linux/Storage/FolderWatch.h"
#include "QuilletCompanion/Platform/Linux/Typing/KeyTypist.h"
#include "QuilletCompanion/Platform/Qt/MainLoopExecutor.h"
#include "QuilletCompanion/Platform/Qt/MainLoopTimers.h"
#include "QuilletCompanion/Program/DictationAdapters.h"
#include "QuilletCompanion/Program/NetworkThread.h"
#include "QuilletKit/Words/BackgroundLedgerStorage.h"

namespace quillet {

/// The program on this desktop: the adapters and the model over them. Construct after QCoreApplication.
class Program {
 public:
  /// Stands between people and the model, from before its start to the end of the event loop.
  class Front {
   public:
    virtual ~Front() = default;
    /// Called once the model has started.
    virtual void start() {}
    /// The user started the program once more.
    virtual void activate() {}
  };
  using MakeFront = std::function<std::unique_ptr<Front>(AppModel& model, Executor mainThread)>;

  /// `defaults` outlives it.
  Program(UserDefaults& defaults, std::optional<std::filesystem::path> supportFolder);

  /// Runs until somebody quits; gives the exit code.
  int run(const MakeFront& makeFront);
  /// Whether it quit to be started anew.
  bool restartWanted() const { return restartWanted_; }

 private:
  int serve(AppModel& model, const MakeFront& makeFront);
  void shareWords(const std::filesystem::path& folder);
  AppModelParts parts();

  UserDefaults& defaults_;
  const std::optional<std::filesystem::path> supportFolder_;
  std::unique_ptr<SecretStore> secretStore_;
  MainLoop mainLoop_;
  MainLoopTimers timers_;
  NetworkThread network_;
  boost::asio::thread_pool secretThread_{1};  ///< Ends before the main loop, which it tells of what it found.
  HTTPSession session_{network_.executor()};
  DictationAdapters dictation_{mainLoop_.executor(), session_};
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

}  // namespace quillet
