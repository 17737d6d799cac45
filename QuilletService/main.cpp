// SPDX-License-Identifier: MIT
#include <sys/resource.h>

#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <csignal>
#include <iostream>

#include "QuilletService/Options.h"
#include "QuilletService/Transport/HTTPServer.h"
#include "QuilletService/Transport/MetricsServer.h"
#include "QuilletSpeech/SpeechEngines.h"

namespace {

using namespace quillet;
using namespace std::chrono_literals;

constexpr int kFailure = 1;
constexpr int kUsage = 2;
constexpr int kDatabase = 3;
constexpr auto kShutDownTime = 3s;

/// Every connection takes a descriptor, so take all that we are allowed.
void raiseDescriptorLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

int serve(const Options& options) {
  boost::asio::io_context context(1);
  const TimeSource time = systemTime(context.get_executor());
  HTTPSession http(context.get_executor());
  const auto engine = options.engine ? makeSpeechEngine(*options.engine, http) : nullptr;
  ServiceSettings settings = options.settings;
  settings.engine = engine.get();
  Service service(context.get_executor(), time, settings);
  HTTPServer server(context, service, options.host, options.port, options.tls, options.limits);
  std::optional<MetricsServer> metrics;
  if (options.metricsPort) {
    metrics.emplace(context, *options.metricsPort, [&] { return service.metricsText(server.connections()); });
  }
  Task housekeeping(context.get_executor());
  housekeeping.start([&service] { return service.keepHouse(); });

  boost::asio::signal_set signals(context, SIGINT, SIGTERM);
  boost::asio::steady_timer patience(context);
  signals.async_wait([&](boost::system::error_code error, int) {
    if (error) return;
    patience.expires_after(kShutDownTime);
    patience.async_wait([&](boost::system::error_code cancelled) {
      if (!cancelled) server.abort();
    });
    server.stop([&] { context.stop(); });
  });

  server.start();
  std::cout << "quillet-service listening on " << server.url() << std::endl;
  if (metrics) {
    metrics->start();
    std::cout << "quillet-service metrics at http://127.0.0.1:" << metrics->port() << "/metrics" << std::endl;
  }
  context.run();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  try {
    options = Options::parse({argv + 1, static_cast<std::size_t>(argc - 1)});
  } catch (const Options::UsageError& e) {
    std::cerr << "quillet-service: " << e.what() << '\n' << Options::usage();
    return kUsage;
  }
  if (options.help || options.version) {
    std::cout << (options.help ? Options::usage() : std::string_view("quillet-service " QUILLET_VERSION "\n"));
    return 0;
  }
  std::signal(SIGPIPE, SIG_IGN);
  raiseDescriptorLimit();
  Log::configure(options.logLevel, "quillet-service");
  const auto unusable = [&](const std::exception& e) {
    std::cerr << "quillet-service: " << options.settings.database.string() << ": " << e.what() << '\n';
    return kDatabase;
  };
  try {
    return serve(options);
  } catch (const DatabaseUnusable& e) {
    return unusable(e);
  } catch (const NonceFile::InUse& e) {
    return unusable(e);
  } catch (const DatabaseError& e) {
    return unusable(e);
  } catch (const std::filesystem::filesystem_error& e) {  // the folder of both files, or the file of nonces
    return unusable(e);
  } catch (const std::exception& e) {
    std::cerr << "quillet-service: " << e.what() << '\n';
    return kFailure;
  }
}
