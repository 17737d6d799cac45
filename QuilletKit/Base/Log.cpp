// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/Log.h"

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/sinks/systemd_sink.h>
#include <spdlog/spdlog.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>

#include "QuilletKit/Base/LogLimiter.h"

namespace quillet::Log {
namespace {

std::mutex mutex;
Sink customSink;
std::shared_ptr<spdlog::logger> logger;
LogLimiter limiter;

spdlog::level::level_enum spdLevel(Level level) {
  switch (level) {
    case Level::debug:
      return spdlog::level::debug;
    case Level::info:
      return spdlog::level::info;
    case Level::standard:
      return spdlog::level::warn;
    case Level::error:
      return spdlog::level::err;
  }
  return spdlog::level::err;
}

/// The variable says which file the journal is: who was started from a session inherits it and has another one.
bool isJournal(int descriptor) {
  const char* const stream = std::getenv("JOURNAL_STREAM");
  struct stat status {};
  return stream != nullptr && ::fstat(descriptor, &status) == 0 &&
         fmt::format("{}:{}", status.st_dev, status.st_ino) == stream;
}

std::shared_ptr<spdlog::logger> makeLogger(std::string_view program) {
  spdlog::sink_ptr sink;
  if (isJournal(STDERR_FILENO)) {
    sink = std::make_shared<spdlog::sinks::systemd_sink_mt>(std::string(program));
    sink->set_pattern("%v");
  } else {
    sink = std::make_shared<spdlog::sinks::stderr_sink_mt>();
    sink->set_pattern("%Y-%m-%dT%H:%M:%S.%e %l %v");
  }
  auto made = std::make_shared<spdlog::logger>(std::string(program), sink);
  made->flush_on(spdlog::level::debug);
  return made;
}

/// Whoever can have a line written again and again must not fill the disk with it.
void writeSummaries(LogLimiter::Time now) {
  limiter.summarise(
      now, [](const std::string& line, std::size_t heldBack) { logger->warn("{} ({} times more)", line, heldBack); });
}

}  // namespace

std::optional<Level> levelNamed(std::string_view text) {
  constexpr std::array<std::string_view, 4> kNames{"debug", "info", "default", "error"};  // as they are declared
  const auto found = std::find(kNames.begin(), kNames.end(), text);
  if (found == kNames.end()) return std::nullopt;
  return static_cast<Level>(found - kNames.begin());
}

void configure(Level minimum, std::string_view program) {
  const std::lock_guard lock(mutex);
  if (!logger) {
    std::atexit([] {
      const std::lock_guard guard(mutex);
      writeSummaries(LogLimiter::Time::max());
    });
  }
  logger = makeLogger(program);
  logger->set_level(spdLevel(minimum));
}

Sink setSink(Sink sink) {
  const std::lock_guard lock(mutex);
  return std::exchange(customSink, std::move(sink));
}

void write(Level level, std::string_view category, std::string_view message) {
  const std::lock_guard lock(mutex);
  if (customSink) return customSink({level, category, message});
  if (!logger) logger = makeLogger("quillet");
  if (!logger->should_log(spdLevel(level))) return;
  const std::string line = fmt::format("com.fernhollow.quillet.mac {}: {}", category, message);
  const auto now = std::chrono::steady_clock::now();
  writeSummaries(now);
  if (limiter.admits(line, now)) logger->log(spdLevel(level), line);
}

}  // namespace quillet::Log
