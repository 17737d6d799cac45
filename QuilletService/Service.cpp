// SPDX-License-Identifier: MIT
#include "QuilletService/Service.h"

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "QuilletService/ServiceError.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;
constexpr Duration kSweepInterval = 30s;

std::filesystem::path nonceFile(const std::filesystem::path& database) {
  return database == ":memory:" ? std::filesystem::path() : std::filesystem::path(database.string() + "-nonces");
}

}  // namespace

Service::Service(const Executor& executor, const TimeSource& time, const ServiceSettings& settings)
    : settings_(settings),
      time_(time),
      store_(executor, settings.database),
      hub(executor, time),
      authenticator(store_.devices, time, settings.maximumAge, nonceFile(settings.database)),
      verifier(executor, settings.verifierThreads),
      pairDirectory(store_, hub),
      devices(store_, hub, pairDirectory, time, settings.registrationsPerHour),
      pairing(store_, pairDirectory, time, settings.pairingTimeToLive),
      relay(store_, hub, pairDirectory, metrics, time, settings.relay),
      transcription(settings.engine, metrics, time, settings.transcription) {}

std::string Service::metricsText(std::size_t connections) {
  return metrics.text({.connections = connections,
                       .desktopsOnline = hub.online(),
                       .callsWaiting = hub.waiting(),
                       .noncesRemembered = authenticator.noncesRemembered(),
                       .streamsOpen = transcription.streams(),
                       .uploadsUnderWay = transcription.uploads().taken(),
                       .uploadsWaiting = transcription.uploads().waiting(),
                       .devices = store_.devices.count(),
                       .pairs = store_.devices.pairCount(),
                       .deliveriesPending = store_.deliveries.pendingCount()});
}

ServiceConfig Service::config() const {
  ServiceConfig config;
  config.pairingTtlSeconds = std::chrono::ceil<std::chrono::seconds>(settings_.pairingTimeToLive).count();
  config.maxRecordingSeconds = settings_.transcription.sound.count();
  config.cloud = transcription.describe();
  return config;
}

Awaitable<void> Service::keepHouse() {
  for (;;) {
    co_await time_.sleep(kSweepInterval);
    try {
      sweep();
    } catch (const DatabaseError& e) {
      store_.health.failed(e.code);
    }
  }
}

OK Service::health() const {
  std::string problem;
  if (!authenticator.keepsNonces()) problem = "The file of nonces can't be written.";
  if (store_.health.failing()) problem = "The database can't be used: " + std::string(store_.health.problem()) + ".";
  if (!problem.empty()) throw ServiceError(503, "storage_failing", std::move(problem), true);
  return {true};
}

void Service::giveBackMemory() {
  // These lie strewn among what connections leave, and the allocator gives back whole pages only.
  store_.devices.forgetRecent();
#ifdef __GLIBC__
  ::malloc_trim(0);
#endif
}

void Service::sweep() {
  store_.probe();
  authenticator.sweep();
  devices.sweep();
  pairing.sweep();
  relay.sweep();
  transcription.sweep();
}

}  // namespace quillet
