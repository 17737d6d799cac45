// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <span>
#include <stdexcept>
#include <string>

#include "QuilletKit/Base/Log.h"
#include "QuilletService/ServerLimits.h"
#include "QuilletService/Service.h"
#include "QuilletSpeech/SpeechEngineChoice.h"

namespace quillet {

/// The program's command line.
struct Options {
  struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
  };

  std::string host = "127.0.0.1";
  std::uint16_t port = 8787;
  ServiceSettings settings;
  std::optional<TLSFiles> tls;
  std::optional<SpeechEngineChoice> engine;
  ServerLimits limits;
  std::optional<std::uint16_t> metricsPort;
  Log::Level logLevel = Log::Level::info;
  bool help = false, version = false;

  /// Throws UsageError.
  static Options parse(std::span<const char* const> arguments);
  static std::string_view usage();
  /// "quillet/service.sqlite" in the user's folder for state.
  static std::filesystem::path defaultDatabase();
};

}  // namespace quillet
