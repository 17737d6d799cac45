// SPDX-License-Identifier: MIT
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>

#include "Benchmarks/ServerProcess.h"
#include "Benchmarks/Table.h"
#include "QuilletKit/Base/Base64URL.h"

/// Honest phones beside attackers: what they wait while the service is attacked, and while the same attacker is busy
/// with another service on the same cores.
namespace quillet::bench {
namespace {

const auto kAwait = asio::use_awaitable;
constexpr int kPairs = 4;
constexpr int kCallsPerRound = 400;
constexpr int kRounds = 11;  // twice that many calls stay below what the service remembers of one device
constexpr std::size_t kSilent = 400;
constexpr double kLimit = 1.5;

/// One who keeps a service busy from several connections.
struct Attack {
  const char* name;
  int connections;
  /// Sends for ever on one connection.
  Awaitable<void> (*run)(tcp::socket& socket, const Identity& attacker);
};

/// Sends a request and takes the answer, or as much of both as the service lets it.
Awaitable<void> send(tcp::socket& socket, const http::request<http::string_body>& request) {
  co_await http::async_write(socket, request, kAwait);
  beast::flat_buffer buffer;
  http::response<http::string_body> response;
  co_await http::async_read(socket, buffer, response, kAwait);
  if (!response.keep_alive()) throw boost::system::system_error(asio::error::eof);
}

const std::string& largeName() {
  static const std::string body = R"({"name":")" + std::string(1'000'000, 'n') + "\"}";
  return body;
}
const std::string& largeDelivery() {
  static const Identity mac(DevicePlatform::macos), phone(DevicePlatform::ios);
  static const std::string body = JSONCoding::encode(DeliveryRequest{
      "u", Envelope::sealBytes(std::string(700'000, 'x'), EnvelopePurpose::delivery, phone.identity, mac.peer)});
  return body;
}

Awaitable<void> sendLargeNames(tcp::socket& socket, const Identity& attacker) {
  for (;;) co_await send(socket, signedRequest(attacker.identity, "PATCH", "/v1/devices/me", largeName()));
}
Awaitable<void> sendLargeDeliveries(tcp::socket& socket, const Identity& attacker) {
  const std::string target = "/v1/macs/" + attacker.peer.deviceId + "/deliveries";
  for (;;) co_await send(socket, signedRequest(attacker.identity, "POST", target, largeDelivery()));
}
Awaitable<void> sendGoodRequests(tcp::socket& socket, const Identity& attacker) {
  for (;;) co_await send(socket, signedRequest(attacker.identity, "GET", "/v1/pairs"));
}
Awaitable<void> sendForgeries(tcp::socket& socket, const Identity& attacker) {
  for (;;) {
    auto request = signedRequest(attacker.identity, "GET", "/v1/pairs");
    request.target("/v1/presence");
    co_await send(socket, request);
  }
}
Awaitable<void> sendStrangersUploads(tcp::socket& socket, const Identity&) {
  static const Identity stranger(DevicePlatform::ios);
  for (;;) co_await send(socket, signedRequest(stranger.identity, "POST", "/v1/transcribe", largeName()));
}
Awaitable<void> sendNonsenseFrames(tcp::socket& socket, const Identity& attacker) {
  auto upgrade = signedRequest(attacker.identity, "GET", "/v1/mac/connect");
  upgrade.set(http::field::upgrade, "websocket");
  upgrade.set(http::field::connection, "upgrade");
  upgrade.set(http::field::sec_websocket_version, "13");
  upgrade.set(http::field::sec_websocket_key, "dGhlIHNhbXBsZSBub25jZQ==");
  co_await http::async_write(socket, upgrade, kAwait);
  std::string frames;
  for (int i = 0; i < 1000; ++i) frames += std::string("\x81\x81\0\0\0\0{", 7);
  for (;;) co_await asio::async_write(socket, asio::buffer(frames), kAwait);
}
Awaitable<void> hangUp(tcp::socket&, const Identity&) {
  co_return;
}
Awaitable<void> keepSilent(tcp::socket& socket, const Identity&) {
  std::array<char, 1> byte;
  co_await socket.async_read_some(asio::buffer(byte), kAwait);
}

const Attack kAttacks[] = {
    {"1 MB as a name, signed, three connections", 3, sendLargeNames},
    {"1 MB to a desktop that isn't its own, three", 3, sendLargeDeliveries},
    {"good requests at full speed, three", 3, sendGoodRequests},
    {"forged signatures at full speed, three", 3, sendForgeries},
    {"uploads of an unknown device, three", 3, sendStrangersUploads},
    {"frames that are no JSON, a desktop", 1, sendNonsenseFrames},
    {"connections that come and go, three", 3, hangUp},
    {"silent connections, 400", static_cast<int>(kSilent), keepSilent},
};

Awaitable<void> attackOnce(const Attack& attack, tcp::endpoint endpoint, const Identity& attacker) {
  tcp::socket socket(co_await asio::this_coro::executor);
  co_await socket.async_connect(endpoint, kAwait);
  co_await attack.run(socket, attacker);
}

Awaitable<void> attackForEver(const Attack& attack, tcp::endpoint endpoint, const Identity& attacker) {
  asio::steady_timer pause(co_await asio::this_coro::executor);
  for (;;) {
    try {
      co_await attackOnce(attack, endpoint, attacker);
    } catch (const boost::system::system_error&) {
    }
    pause.expires_after(std::chrono::microseconds(200));  // ports would run out
    co_await pause.async_wait(kAwait);
  }
}

/// A service with honest phones and desktops, and an attacker that is registered as a desktop.
struct Scene {
  Scene() : server(ServerProcess::service(folder.path() / "db"), folder.path(), "listening on") {
    asio::io_context context(1);
    tcp::socket control = dial(context, server.endpoint());
    enrol(control, attacker);
    for (int i = 0; i < kPairs; ++i) {
      enrol(control, macs.emplace_back(DevicePlatform::macos));
      enrol(control, phones.emplace_back(DevicePlatform::ios));
      pairOverHTTP(control, macs.back(), phones.back());
    }
  }

  ScratchFolder folder;
  ServerProcess server;
  Identity attacker{DevicePlatform::macos};
  std::deque<Identity> macs, phones;
};

/// What the honest ones of `scene` wait while `attacked` is.
void measure(const Scene& scene, const Scene& attacked, const Attack* attack, std::vector<double>& samples) {
  Clients clients(scene.server.endpoint(), scene.macs, scene.phones);
  LoopThread loop;
  for (int i = 0; attack != nullptr && i < attack->connections; ++i) {
    asio::co_spawn(loop.context, attackForEver(*attack, attacked.server.endpoint(), attacked.attacker), asio::detached);
  }
  std::vector<double> warm;
  clients.call(10, warm);
  clients.call(kCallsPerRound, samples);
}

void attack(Table& table) {
  table.section("Honest phones beside attackers: a round trip's p99");
  std::vector<double> quiet;
  {
    const Scene ours;
    for (int round = 0; round < kRounds; ++round) measure(ours, ours, nullptr, quiet);
  }
  table.add({"nobody attacks", {percentile(quiet, 0.99), "us"}, "", {}});
  for (const Attack& each : kAttacks) {
    // New devices each time: the service keeps only so many requests of one in mind, and refuses it then.
    const Scene ours, other;
    std::vector<double> times, control;
    for (int round = 0; round < kRounds; ++round) {
      measure(ours, ours, &each, times);
      measure(ours, other, &each, control);
    }
    table.add({each.name,
               {percentile(times, 0.99), "us"},
               "the same attacker at another service",
               Figure{percentile(control, 0.99), "us"},
               kLimit});
  }
  table.note("The attacker, the phones, the desktops and both services share the machine's cores.");
}
const Section kAttackSection("attack", attack);

/// Deliveries that are acknowledged, one after the other and many at a time.
struct Acknowledged {
  double median = 0, perSecond = 0;
};

Acknowledged deliver(const std::filesystem::path& within) {
  constexpr int kPhones = 64, kEach = 30;
  const ScratchFolder folder(within);
  const ServerProcess server(ServerProcess::service(folder.path() / "db"), folder.path(), "listening on");
  asio::io_context context(1);
  std::deque<Identity> macs, phones;
  std::deque<tcp::socket> sockets;
  std::vector<std::string> targets, bodies;
  for (int i = 0; i < kPhones; ++i) {
    sockets.push_back(dial(context, server.endpoint()));
    enrol(sockets.back(), macs.emplace_back(DevicePlatform::macos));
    enrol(sockets.back(), phones.emplace_back(DevicePlatform::ios));
    pairOverHTTP(sockets.back(), macs.back(), phones.back());
    targets.push_back("/v1/macs/" + macs.back().peer.deviceId + "/deliveries");
  }
  std::vector<double> samples;
  const auto phone = [&](std::size_t number, int deliveries) -> Awaitable<void> {
    for (int i = 0; i < deliveries; ++i) {
      const DeliveryRequest delivery{
          std::to_string(samples.size()) + "." + std::to_string(number) + "." + std::to_string(i),
          Envelope::sealBytes(std::string(300, 't'), EnvelopePurpose::delivery, phones[number].identity,
                              macs[number].peer)};
      const auto request =
          signedRequest(phones[number].identity, "POST", targets[number], JSONCoding::encode(delivery));
      const auto start = SteadyClock::now();
      co_await exchange(sockets[number], request);
      samples.push_back(microsecondsSince(start));
    }
  };
  const auto run = [&](std::size_t number, int deliveries) {
    asio::co_spawn(context, phone(number, deliveries), [](const std::exception_ptr& error) {
      if (error) std::rethrow_exception(error);
    });
  };
  run(0, 300);
  context.run();
  Acknowledged result{percentile(samples, 0.5), 0};
  context.restart();
  const auto start = SteadyClock::now();
  for (std::size_t i = 0; i < kPhones; ++i) run(i, kEach);
  context.run();
  result.perSecond = kPhones * kEach / microsecondsSince(start) * 1e6;
  return result;
}

void durable(Table& table) {
  table.section("Deliveries that are on the disk before their 200");
  const std::filesystem::path memory = "/dev/shm";
  if (!std::filesystem::is_directory(memory)) return table.note("skipped: no /dev/shm to compare with");
  const Acknowledged ours = deliver(std::filesystem::temp_directory_path()), floor = deliver(memory);
  table.add(
      {"one phone, p50", {ours.median, "us"}, "nothing to sync: the database in memory", Figure{floor.median, "us"}});
  table.add({"64 phones at once, acknowledged a second",
             {ours.perSecond, "1/s"},
             "nothing to sync: the database in memory",
             Figure{floor.perSecond, "1/s"}});
}
const Section kDurableSection("durable", durable);

}  // namespace
}  // namespace quillet::bench
