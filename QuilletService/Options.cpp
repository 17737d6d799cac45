// SPDX-License-Identifier: MIT
#include "QuilletService/Options.h"

#include <CLI/CLI.hpp>
#include <array>
#include <charconv>
#include <vector>

#include "QuilletKit/Base/BaseFolder.h"

namespace quillet {
namespace {

constexpr std::array kValued{"--listen",
                             "--database",
                             "--max-age",
                             "--pairing-ttl",
                             "--certificate",
                             "--key",
                             "--trust-proxy",
                             "--max-connections",
                             "--max-connections-per-address",
                             "--max-registrations-per-hour",
                             "--max-queue",
                             "--metrics-port",
                             "--log",
                             "--engine",
                             "--engine-model",
                             "--engine-region",
                             "--engine-key",
                             "--max-streams",
                             "--max-uploads",
                             "--max-uploads-waiting",
                             "--max-sound-per-hour"};

template <typename Number>
Number parseNumber(std::string_view option, std::string_view text, Number least, Number most) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value < least || value > most) {
    throw Options::UsageError(std::string(option) + " needs a number from " + std::to_string(least) + " to " +
                              std::to_string(most));
  }
  return value;
}

std::chrono::seconds parseSeconds(std::string_view option, std::string_view text) {
  return std::chrono::seconds(parseNumber<int>(option, text, 1, 86'400));
}

void parseListen(Options& options, std::string_view text) {
  const auto colon = text.rfind(':');
  std::string_view host = text.substr(0, colon == text.npos ? 0 : colon);
  if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
  if (host.empty()) throw Options::UsageError("--listen needs HOST:PORT");
  options.host = host;
  options.port = parseNumber<std::uint16_t>("--listen", text.substr(colon + 1), 0, 65535);
}

boost::asio::ip::address parseAddress(std::string_view option, std::string_view text) {
  boost::system::error_code error;
  auto address = boost::asio::ip::make_address(std::string(text), error);
  if (error) throw Options::UsageError(std::string(option) + " needs an IP address");
  return address;
}

/// False for an option that is none of these.
bool applyLimit(Options& options, std::string_view name, std::string_view value) {
  constexpr int kMost = 10'000'000;
  const auto count = [&] { return static_cast<std::size_t>(parseNumber<int>(name, value, 0, kMost)); };
  if (name == "--max-connections") {
    options.limits.connections = count();
  } else if (name == "--max-connections-per-address") {
    options.limits.connectionsPerAddress = count();
  } else if (name == "--max-registrations-per-hour") {
    options.settings.registrationsPerHour = parseNumber<int>(name, value, 0, kMost);
  } else if (name == "--max-queue") {
    options.settings.relay.backlogCount = parseNumber<int>(name, value, 1, kMost);
  } else if (name == "--trust-proxy") {
    options.limits.trustedProxies.push_back(parseAddress(name, value));
  } else if (name == "--metrics-port") {
    options.metricsPort = parseNumber<std::uint16_t>(name, value, 0, 65535);
  } else {
    return false;
  }
  return true;
}

/// Options of the speech engine that are told apart from the engine itself.
struct EngineDetails {
  std::string model, region;
  std::filesystem::path key;
};

bool applyEngine(Options& options, EngineDetails& details, std::string_view name, std::string_view value) {
  constexpr int kMost = 1'000'000;
  TranscriptionLimits& limits = options.settings.transcription;
  const auto count = [&](int least) { return static_cast<std::size_t>(parseNumber<int>(name, value, least, kMost)); };
  if (name == "--engine") {
    try {
      options.engine = SpeechEngineChoice::parse(value);
    } catch (const SpeechEngineChoice::Malformed& e) {
      throw Options::UsageError("--engine: " + std::string(e.what()));
    }
  } else if (name == "--engine-model") {
    details.model = value;
  } else if (name == "--engine-region") {
    details.region = value;
  } else if (name == "--engine-key") {
    details.key = value;
  } else if (name == "--max-streams") {
    limits.streams = count(1);
  } else if (name == "--max-uploads") {
    limits.uploads = count(1);
  } else if (name == "--max-uploads-waiting") {
    limits.uploadsWaiting = count(0);
  } else if (name == "--max-sound-per-hour") {
    limits.soundPerDeviceAndHour = std::chrono::seconds(count(0));
  } else {
    return false;
  }
  return true;
}

void fillIn(Options& options, const EngineDetails& details) {
  const bool none = details.model.empty() && details.region.empty() && details.key.empty();
  if (none) return;
  if (!options.engine || options.engine->kind == SpeechEngineChoice::Kind::sphinx) {
    throw Options::UsageError("--engine-model, --engine-region and --engine-key go with --engine and an address");
  }
  if (options.engine->kind != SpeechEngineChoice::Kind::openAI && !details.key.empty()) {
    throw Options::UsageError("--engine-key goes with an http or https address");
  }
  options.engine->model = details.model;
  options.engine->region = details.region;
  if (!details.key.empty()) options.engine->keyFile = details.key;
}

void apply(Options& options, TLSFiles& tls, std::string_view name, std::string_view value) {
  if (applyLimit(options, name, value)) return;
  if (name == "--listen") {
    parseListen(options, value);
  } else if (name == "--database") {
    options.settings.database = value;
  } else if (name == "--max-age") {
    options.settings.maximumAge = parseSeconds(name, value);
  } else if (name == "--pairing-ttl") {
    options.settings.pairingTimeToLive = parseSeconds(name, value);
  } else if (name == "--certificate") {
    tls.certificate = value;
  } else if (name == "--key") {
    tls.key = value;
  } else if (name == "--log") {
    const auto level = Log::levelNamed(value);
    if (!level) throw Options::UsageError("--log needs debug, info, default or error");
    options.logLevel = *level;
  }
}

}  // namespace

Options Options::parse(std::span<const char* const> arguments) {
  Options options;
  TLSFiles tls;
  EngineDetails engine;
  options.settings.database = defaultDatabase();
  CLI::App app;
  app.set_help_flag();  // ours is a flag like the others
  app.add_flag("--help", options.help);
  app.add_flag("--version", options.version);
  std::vector<CLI::Option*> valued;
  // Each takes one value a time, and may be told again: addresses of proxies add up, of the others the last one counts.
  for (const std::string name : kValued) {
    valued.push_back(app.add_option(name)->expected(1, CLI::detail::expected_max_vector_size)->allow_extra_args(false));
  }
  try {
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what());
  }
  for (const CLI::Option* option : valued) {
    for (const auto& value : option->results()) {
      if (value.empty()) throw UsageError(option->get_name() + " needs a value");
      if (!applyEngine(options, engine, option->get_name(), value)) apply(options, tls, option->get_name(), value);
    }
  }
  fillIn(options, engine);
  if (tls.certificate.empty() != tls.key.empty()) throw UsageError("--certificate and --key go together");
  if (!tls.key.empty()) options.tls = tls;
  return options;
}

std::string_view Options::usage() {
  return "usage: quillet-service [options]\n"
         "  --listen HOST:PORT     address to serve (127.0.0.1:8787); port 0 takes a free one\n"
         "  --database PATH        where state is kept (quillet/service.sqlite in the folder for state)\n"
         "  --max-age SECONDS      how far a request's time may be off (300)\n"
         "  --pairing-ttl SECONDS  life of a pairing session (120)\n"
         "  --certificate FILE     certificate chain, PEM; serves TLS together with --key\n"
         "  --key FILE             private key, PEM\n"
         "  --trust-proxy ADDRESS  believe the X-Forwarded-For header of this proxy; may be repeated\n"
         "  --max-connections N    in all (50000)\n"
         "  --max-connections-per-address N\n"
         "                         of one client (1000)\n"
         "  --max-registrations-per-hour N\n"
         "                         new devices from one client (60)\n"
         "  --max-queue N          deliveries that wait for one desktop (200, at least 1)\n"
         "  --engine sphinx|URL    what transcribes: PocketSphinx in this process, or a server at "
         "http(s)://HOST[:PORT]\n"
         "                         (OpenAI style) or tcp://HOST[:PORT] (Wyoming); without it nothing does\n"
         "  --engine-model NAME, --engine-region TEXT\n"
         "                         which model a server is asked for, and what clients are told of where it is\n"
         "  --engine-key FILE      key for an http or https server, read at each use\n"
         "  --max-streams N        transcription streams at once (64, at least 1)\n"
         "  --max-uploads N        recordings transcribed at once (4, at least 1)\n"
         "  --max-uploads-waiting N\n"
         "                         recordings that wait for that (16); 0 lets none wait\n"
         "  --max-sound-per-hour SECONDS\n"
         "                         what one device may have transcribed in an hour (7200)\n"
         "  --metrics-port PORT    serve GET /metrics on 127.0.0.1 at this port; port 0 takes a free one\n"
         "  --log LEVEL            debug, info, default or error (info)\n"
         "  --help, --version\n"
         "Any other limit of 0 is none. SIGTERM and SIGINT end the service in order. Exit codes: 0 ended in order, 1 "
         "could "
         "not\n"
         "start, 2 wrong usage, 3 the database can't be used.\n";
}

std::filesystem::path Options::defaultDatabase() {
  const auto base = baseFolder("XDG_STATE_HOME", ".local/state").value_or(".local/state");
  return base / "quillet" / "service.sqlite";
}

}  // namespace quillet
