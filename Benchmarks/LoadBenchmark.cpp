// SPDX-License-Identifier: MIT
#include <sys/resource.h>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <iterator>
#include <sstream>

#include "Benchmarks/ServerProcess.h"
#include "Benchmarks/ServiceRig.h"
#include "Benchmarks/Table.h"

/// The service with many idle desktops, and relaying for some of them meanwhile, beside a message broker that does the
/// same without accounts, signatures or HTTP.
namespace quillet::bench {
namespace {

const auto kAwait = asio::use_awaitable;
constexpr std::size_t kIdle = 10'000;
constexpr std::size_t kSpareDescriptors = 500;
constexpr int kPairs = 64;
constexpr int kCallsPerRound = 20;
constexpr int kRounds = 6;
constexpr const char* kBroker = "/usr/sbin/nats-server";

/// As many idle ones as descriptors allow.
std::size_t raiseDescriptors() {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
  return std::min<std::size_t>(kIdle, limit.rlim_cur - kSpareDescriptors);
}

/// From one of several addresses of this machine, so that ports don't run out.
tcp::socket dialFrom(asio::io_context& context, const tcp::endpoint& endpoint, std::size_t number) {
  const auto source = asio::ip::address_v4(0x7F000002U + static_cast<unsigned>(number % 8));
  tcp::socket socket(context, {source, 0});
  socket.connect(endpoint);
  socket.set_option(tcp::no_delay(true));
  return socket;
}

struct Outcome {
  double idleKiB = 0, perSecond = 0, cpu = 0, leftKiB = 0;
};

template <typename Round>
Outcome measure(const ServerProcess& server, double idleKiB, Round round) {
  std::vector<double> samples;
  round(samples);  // warm
  samples.clear();
  const auto start = SteadyClock::now();
  const double before = server.cpuMicroseconds();
  for (int i = 0; i < kRounds; ++i) round(samples);
  const auto calls = static_cast<double>(samples.size());
  return {idleKiB, calls / microsecondsSince(start) * 1e6, (server.cpuMicroseconds() - before) / calls};
}

/// Enrols a desktop and gives the request that opens its relay socket. Its keys go: the system has no room for so many
/// in guarded memory.
std::string enrolledUpgrade(tcp::socket& control) {
  const Identity desktop(DevicePlatform::macos);
  enrol(control, desktop);
  auto upgrade = signedRequest(desktop.identity, "GET", "/v1/mac/connect");
  upgrade.set(http::field::upgrade, "websocket");
  upgrade.set(http::field::connection, "upgrade");
  upgrade.set(http::field::sec_websocket_version, "13");
  upgrade.set(http::field::sec_websocket_key, "dGhlIHNhbXBsZSBub25jZQ==");
  return textOf(upgrade);
}

Outcome measureService(std::size_t idle, const std::filesystem::path& folder) {
  const ServerProcess server(ServerProcess::service(folder / "db"), folder, "listening on");
  asio::io_context context(1);
  tcp::socket control = dial(context, server.endpoint());
  std::deque<Identity> macs, phones;
  std::vector<std::string> upgrades;
  for (std::size_t i = 0; i < idle; ++i) upgrades.push_back(enrolledUpgrade(control));
  for (int i = 0; i < kPairs; ++i) {
    enrol(control, macs.emplace_back(DevicePlatform::macos));
    enrol(control, phones.emplace_back(DevicePlatform::ios));
    pairOverHTTP(control, macs.back(), phones.back());
  }
  const double empty = server.memoryKiB();
  std::deque<tcp::socket> sockets;
  for (std::size_t i = 0; i < idle; ++i) {
    sockets.push_back(dialFrom(context, server.endpoint(), i));
    const std::string answer = writeAndRead(sockets.back(), upgrades[i], "\r\n\r\n");
    if (!answer.starts_with("HTTP/1.1 101")) throw std::runtime_error("no upgrade: " + answer);
  }
  const double idleKiB = (server.memoryKiB() - empty) / static_cast<double>(idle);
  Outcome outcome;
  {
    Clients clients(server.endpoint(), macs, phones);
    outcome = measure(server, idleKiB, [&](std::vector<double>& samples) { clients.call(kCallsPerRound, samples); });
  }
  sockets.clear();
  std::this_thread::sleep_for(std::chrono::seconds(2));
  outcome.leftKiB = (server.memoryKiB() - empty) / static_cast<double>(idle);
  return outcome;
}

/// One client of the broker, which speaks its text protocol.
class BrokerClient {
 public:
  explicit BrokerClient(tcp::socket socket, const std::string& subject) : socket_(std::move(socket)) {
    writeAndRead(socket_, "CONNECT {\"verbose\":false}\r\nSUB " + subject + " 1\r\nPING\r\n", "PONG\r\n");
  }
  Awaitable<void> publish(std::string subject, std::string reply, const std::string& payload) {
    const std::string text =
        "PUB " + subject + " " + reply + " " + std::to_string(payload.size()) + "\r\n" + payload + "\r\n";
    co_await asio::async_write(socket_, asio::buffer(text), kAwait);
  }
  /// The next message's reply subject.
  Awaitable<std::string> receive() {
    for (;;) {
      const std::size_t head = co_await asio::async_read_until(socket_, asio::dynamic_buffer(buffer_), "\r\n", kAwait);
      const std::string line = buffer_.substr(0, head - 2);
      buffer_.erase(0, head);
      if (!line.starts_with("MSG ")) continue;
      const std::size_t size = std::stoul(line.substr(line.rfind(' ') + 1)) + 2;
      if (buffer_.size() < size) {
        co_await asio::async_read(socket_, asio::dynamic_buffer(buffer_), asio::transfer_exactly(size - buffer_.size()),
                                  kAwait);
      }
      buffer_.erase(0, size);
      std::istringstream words(line);
      std::vector<std::string> parts{std::istream_iterator<std::string>(words), {}};
      co_return parts.size() == 5 ? parts[3] : std::string();
    }
  }

 private:
  tcp::socket socket_;
  std::string buffer_;
};

Awaitable<void> answerMessages(BrokerClient& desktop, const std::string& payload) {
  for (;;) {
    const std::string reply = co_await desktop.receive();
    co_await desktop.publish(reply, "", payload);
  }
}

Awaitable<void> callThrough(BrokerClient& phone, std::string subject, std::string inbox, const std::string& payload,
                            std::vector<double>& samples) {
  for (int call = 0; call < kCallsPerRound; ++call) {
    const auto start = SteadyClock::now();
    co_await phone.publish(subject, inbox, payload);
    co_await phone.receive();
    samples.push_back(microsecondsSince(start));
  }
}

Outcome measureBroker(std::size_t idle, const std::filesystem::path& folder) {
  asio::io_context context(1);
  tcp::acceptor free(context, {asio::ip::address_v4::loopback(), 0});
  const auto port = std::to_string(free.local_endpoint().port());
  free.close();
  const ServerProcess server({kBroker, "-a", "127.0.0.1", "-p", port}, folder, "Listening for client connections on");
  const double empty = server.memoryKiB();
  std::deque<BrokerClient> sockets, desktops, phones;
  for (std::size_t i = 0; i < idle; ++i) {
    sockets.emplace_back(dialFrom(context, server.endpoint(), i), "idle." + std::to_string(i));
  }
  const double idleKiB = (server.memoryKiB() - empty) / static_cast<double>(idle);
  const std::string payload(1024, 'x');
  for (int i = 0; i < kPairs; ++i) {
    desktops.emplace_back(dial(context, server.endpoint()), "mac." + std::to_string(i));
    phones.emplace_back(dial(context, server.endpoint()), "inbox." + std::to_string(i));
    asio::co_spawn(context, answerMessages(desktops.back(), payload), [](const std::exception_ptr&) {});
  }
  return measure(server, idleKiB, [&](std::vector<double>& samples) {
    int left = kPairs;
    for (int i = 0; i < kPairs; ++i) {
      const std::string number = std::to_string(i);
      asio::co_spawn(
          context,
          callThrough(phones[static_cast<std::size_t>(i)], "mac." + number, "inbox." + number, payload, samples),
          [&](const std::exception_ptr& error) {
            if (error) std::rethrow_exception(error);
            --left;
          });
    }
    context.restart();
    while (left > 0) context.run_one();
  });
}

void load(Table& table) {
  const std::size_t idle = raiseDescriptors();
  table.section("Load: " + std::to_string(idle) + " idle desktops, and 64 pairs that exchange 1 KB at full speed");
  if (!std::filesystem::exists(kBroker)) return table.note("skipped: nats-server is not installed");
  const ScratchFolder folder;
  const Outcome ours = measureService(idle, folder.path()), broker = measureBroker(idle, folder.path());
  table.add({"memory of an idle desktop", {ours.idleKiB, "KiB"}, "nats-server", Figure{broker.idleKiB, "KiB"}});
  table.add({"the same beside what it may take", {ours.idleKiB, "KiB"}, "", {}, 6});
  table.add({"the same after they have left", {ours.leftKiB, "KiB"}, "", {}, 1});
  table.add({"round trips a second", {ours.perSecond, "1/s"}, "nats-server", Figure{broker.perSecond, "1/s"}});
  table.add({"CPU of one round trip", {ours.cpu, "us"}, "nats-server", Figure{broker.cpu, "us"}});
  table.note(
      "A round trip of ours is a signed HTTP request, verified, a frame to the desktop, its answer, a response.");
  table.note("One of the broker is a message and its answer between two clients that it doesn't know.");
}
const Section kSection("load", load);

}  // namespace
}  // namespace quillet::bench
