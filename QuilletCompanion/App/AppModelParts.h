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
  Executor mainThread;
  TimeSource time;
  AccessibilityProvider& provider;
  /// Trusted, and yet the accessibility interface refuses this process, which a restart cures. May be empty.
  std::function<bool()> isGrantStale;
  /// Asks the desktop to let this program in. May be empty.
  std::function<void()> promptForAccessibility;
  ScreenLockMonitor& lockMonitor;
  SystemEvents& systemEvents;
  LoginItem& loginItem;
  SecretStore& secretStore;
  /// Where the secret store is asked, which may take seconds: a thread of its own.
  Executor secretThread;
  UserDefaults& defaults;
  HTTPSession& session;
  DictationPlatform dictation;
  /// Where journal and peers live; in memory without one.
  std::optional<std::filesystem::path> supportFolder;
  std::string hostName;
  std::string appVersion;                      ///< As registered with the service, "0.1.0 (0)" for example.
  std::string operatingSystem, hardwareModel;  ///< For feedback.
  std::optional<std::string> bundleServiceURL;
  /// May be empty, or not know.
  std::function<std::optional<DeviceKind>()> deviceKind;
  /// Where the user's devices share their word counts; null without such a place.
  WordLedgerStorage* wordLedgers = nullptr;
  WordCalendar calendar = WordCalendar::current();
  /// Ends this process in an orderly way and starts the program anew. May be empty.
  std::function<void()> restart;
  std::function<double()> jitter = &Backoff::drawJitter;
};

}  // namespace quillet
