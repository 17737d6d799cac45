// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "QuilletCompanion/App/LoginItem.h"
#include "QuilletCompanion/App/UserDefaults.h"
#include "QuilletCompanion/Dictation/DictationFeature.h"
#include "QuilletCompanion/Relay/Backoff.h"
#include "QuilletCompanion/Relay/SystemEvents.h"
#include "QuilletCompanion/Target/AccessibilityProvider.h"
#include "QuilletCompanion/Target/ScreenLockMonitor.h"
#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Identity/SecretStore.h"
#include "QuilletKit/Network/HTTPSession.h"
#include "QuilletKit/Protocol/WireModels.h"
#include "QuilletKit/Words/WordCalendar.h"
#include "QuilletKit/Words/WordLedgerStorage.h"

namespace quillet {

/// Names the application's folders and its items in secret stores.
inline constexpr std::string_view kBundleIdentifier = "com.fernhollow.quillet.mac";

/// What the model is built from. References outlive the model; all callbacks run on the main thread, and only those
/// marked so may be empty.
struct AppModelParts {
  struct Accessibility {
    AccessibilityProvider& provider;
    /// Trusted, and yet the accessibility interface refuses this process, which a restart cures. May be empty.
    std::function<bool()> isGrantStale;
    /// Asks the desktop to let this program in. May be empty.
    std::function<void()> prompt;
  };
  struct Desktop {
    ScreenLockMonitor& lockMonitor;
    SystemEvents& events;
    LoginItem& loginItem;
    /// Ends this process in an orderly way and starts the program anew. May be empty.
    std::function<void()> restart;
  };
  struct Secrets {
    SecretStore& store;
    /// A thread of its own for questions to the store, which may take seconds.
    Executor thread;
  };
  struct Storage {
    UserDefaults& defaults;
    /// Where journal and peers live; in memory without one.
    std::optional<std::filesystem::path> folder;
    /// Where the user's devices share their word counts; null without such a place.
    WordLedgerStorage* wordLedgers = nullptr;
    WordCalendar calendar = WordCalendar::current();
  };
  struct Network {
    HTTPSession& session;
    /// The address that came with the program.
    std::optional<std::string> bundleServiceURL;
    std::function<double()> jitter = &Backoff::drawJitter;
  };
  struct Machine {
    std::string hostName;
    std::string operatingSystem, hardwareModel;  ///< For feedback.
    /// May be empty, or not know.
    std::function<std::optional<DeviceKind>()> kind;
  };

  Executor mainThread;
  TimeSource time;
  std::string appVersion;  ///< As registered with the service, "0.1.0 (0)" for example.
  Machine machine;
  Accessibility accessibility;
  Desktop desktop;
  Secrets secrets;
  Storage storage;
  Network network;
  DictationPlatform dictation;
};

}  // namespace quillet
