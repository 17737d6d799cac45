// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

#include "QuilletKit/Protocol/ServiceModels.h"
#include "QuilletService/Authenticator.h"
#include "QuilletService/DeviceService.h"
#include "QuilletService/PairingService.h"
#include "QuilletService/RelayService.h"
#include "QuilletService/Transcription/TranscriptionService.h"
#include "QuilletService/Verifier.h"

namespace quillet {

struct ServiceSettings {
  std::filesystem::path database = ":memory:";
  std::chrono::milliseconds maximumAge{300'000};
  std::chrono::milliseconds pairingTimeToLive{120'000};
  int registrationsPerHour = 60;  ///< New devices from one address; 0 for any number.
  RelayLimits relay;
  SpeechEngine* engine = nullptr;  ///< Must outlive the service. Without one it doesn't transcribe.
  TranscriptionLimits transcription;
  unsigned verifierThreads = Verifier::spareCores();
};

/// The whole service without its sockets: state, rules and endpoints. One thread, which `executor` runs on; others only
/// verify signatures and wait for the disk.
class Service {
 public:
  /// Throws DatabaseError when the database can't be opened.
  Service(const Executor& executor, const TimeSource& time, const ServiceSettings& settings);

  ServiceConfig config() const;
  /// Throws ServiceError 503 that says what is wrong, while something is.
  OK health() const;
  /// See Store.
  StorageHealth& storageHealth() { return store_.health; }
  Awaitable<void> durable() { return store_.durable(); }
  /// Forgets what is over, now and every half minute until cancelled.
  Awaitable<void> keepHouse();
  void sweep();
  /// Keeps only what it needs in memory, and gives the rest back to the system.
  void giveBackMemory();
  /// What is counted, with the number of open connections.
  std::string metricsText(std::size_t connections);

 private:
  ServiceSettings settings_;
  TimeSource time_;
  Store store_;

 public:
  Metrics metrics;
  RelayHub hub;
  Authenticator authenticator;
  Verifier verifier;
  PairDirectory pairDirectory;
  DeviceService devices;
  PairingService pairing;
  RelayService relay;
  TranscriptionService transcription;
};

}  // namespace quillet
