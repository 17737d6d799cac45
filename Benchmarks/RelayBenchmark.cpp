// SPDX-License-Identifier: MIT
#include <sched.h>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <deque>

#include "Benchmarks/ServiceRig.h"
#include "Benchmarks/Table.h"

/// A sealed frame of 1 KB through the service's relay, beside bare Beast servers that make the same hops.
namespace quillet::bench {
namespace {

const auto kAwait = asio::use_awaitable;
constexpr int kRounds = 12;
constexpr int kCallsPerRound = 250;
constexpr int kPairs = 100;

/// A desktop that answers every frame, on a thread of its own.
class Desktop {
 public:
  Desktop(const tcp::endpoint& endpoint, const Identity& mac, const std::string& answer)
      : socket_(openRelay(loop_.context, endpoint, mac.identity)), answer_(answer) {
    asio::co_spawn(loop_.context, answerFrames(socket_, answer_), asio::detached);
  }
  ~Desktop() { loop_.join(); }

 private:
  LoopThread loop_;
  WebSocket socket_;
  std::string answer_;
};

/// From the service's call to the desktop's answer: a prepare inside the service, and a frame written and read by a
/// bare server.
void socketLeg(Table& table) {
  const Identity mac(DevicePlatform::macos), phone(DevicePlatform::ios);
  const PrepareExchange exchange(mac, phone);
  ServiceThread ours;
  ours.pair(mac, phone);
  const Desktop desktop(ours.endpoint, mac, exchange.answer);
  ours.loop.run([&] { return 0; });

  LoopThread bare;
  tcp::acceptor acceptor(bare.context, {asio::ip::address_v4::loopback(), 0});
  std::optional<WebSocket> floor;
  std::promise<void> accepted;
  asio::co_spawn(
      bare.context,
      [&]() -> Awaitable<void> {
        tcp::socket socket = co_await acceptor.async_accept(kAwait);
        socket.set_option(tcp::no_delay(true));
        floor.emplace(std::move(socket));
        floor->auto_fragment(false);
        floor->text(true);
        co_await floor->async_accept(kAwait);
        accepted.set_value();
      },
      asio::detached);
  const Desktop echo(acceptor.local_endpoint(), mac, exchange.answer);
  accepted.get_future().wait();
  while (!ours.loop.run([&] { return ours.service->hub.isOnline(mac.peer.deviceId); })) std::this_thread::yield();

  Device sender{.id = phone.peer.deviceId, .platform = DevicePlatform::ios};
  std::vector<double> times, floorTimes;
  const auto batch = [&](LoopThread& loop, auto call, std::vector<double>& samples) {
    std::promise<void> done;
    asio::co_spawn(
        loop.context,
        [&]() -> Awaitable<void> {
          for (int i = 0; i < kCallsPerRound; ++i) {
            PassedPrepare request{exchange.request.requestId, exchange.request.envelope};
            const auto start = SteadyClock::now();
            co_await call(request);
            samples.push_back(microsecondsSince(start));
          }
        },
        [&](std::exception_ptr) { done.set_value(); });
    done.get_future().wait();
  };
  beast::flat_buffer buffer;
  for (int round = 0; round < kRounds; ++round) {
    batch(
        ours.loop,
        [&](PassedPrepare& request) -> Awaitable<void> {
          co_await ours.service->relay.prepare(sender, mac.peer.deviceId, std::move(request));
        },
        times);
    batch(
        bare,
        [&](PassedPrepare&) -> Awaitable<void> {
          co_await floor->async_write(asio::buffer(exchange.frame), kAwait);
          co_await floor->async_read(buffer, kAwait);
          buffer.consume(buffer.size());
        },
        floorTimes);
  }
  bare.join();
  table.add({"frame to a desktop and its answer, p50",
             {percentile(times, 0.5), "us"},
             "bare Beast echo",
             Figure{percentile(floorTimes, 0.5), "us"},
             1.15});
  table.add({"the same, p99",
             {percentile(times, 0.99), "us"},
             "bare Beast echo",
             Figure{percentile(floorTimes, 0.99), "us"}});
}

/// From the phone's request to its response. The bare server verifies each signature once, too.
void wholeRoad(Table& table, int pairs, int each) {
  std::deque<Identity> macs, phones;
  ServiceThread ours;
  for (int i = 0; i < pairs; ++i) {
    macs.emplace_back(DevicePlatform::macos);
    phones.emplace_back(DevicePlatform::ios);
    ours.pair(macs.back(), phones.back());
  }
  std::unordered_map<std::string, Crypto::Key> keys;
  for (const Identity& phone : phones) keys.emplace(phone.peer.deviceId, phone.peer.signingKey());
  BareRelay bare(keys), unchecked;
  Clients clients(ours.endpoint, macs, phones), floorClients(bare.endpoint, macs, phones);
  Clients uncheckedClients(unchecked.endpoint, macs, phones);
  std::vector<double> times, floorTimes, uncheckedTimes;
  double cpu = 0, floorCPU = 0, uncheckedCPU = 0;
  for (int round = 0; round < kRounds; ++round) {
    const double before = ours.loop.cpu(), floorBefore = bare.loop.cpu();
    clients.call(each, times);
    cpu += ours.loop.cpu() - before;
    floorClients.call(each, floorTimes);
    floorCPU += bare.loop.cpu() - floorBefore;
    const double uncheckedBefore = unchecked.loop.cpu();
    uncheckedClients.call(each, uncheckedTimes);
    uncheckedCPU += unchecked.loop.cpu() - uncheckedBefore;
  }
  const auto frames = static_cast<double>(2 * times.size());  // one to the desktop, one back
  if (pairs == 1) {
    table.add({"from a phone's request to its response, p50",
               {percentile(times, 0.5), "us"},
               "bare hops and one verification",
               Figure{percentile(floorTimes, 0.5), "us"},
               1.15});
  } else {
    table.add({"CPU a frame with 100 pairs, requests and all",
               {cpu / frames, "us"},
               "bare hops and one verification a request",
               Figure{floorCPU / frames, "us"}});
    table.add({"the same beside bare hops",
               {cpu / frames, "us"},
               "bare hops, nothing checked",
               Figure{uncheckedCPU / frames, "us"}});
  }
}

/// Keeps this thread, and those that it starts, on one core. On several it depends on the kernel's mood whether two
/// threads that talk to each other share one; where they don't, waking the other takes longer than all of the work.
class OneCore {
 public:
  OneCore() {
    sched_getaffinity(0, sizeof before_, &before_);
    int first = 0;
    while (!CPU_ISSET(first, &before_)) ++first;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(first, &one);
    sched_setaffinity(0, sizeof one, &one);
  }
  ~OneCore() { sched_setaffinity(0, sizeof before_, &before_); }
  OneCore(const OneCore&) = delete;
  OneCore& operator=(const OneCore&) = delete;

 private:
  cpu_set_t before_{};
};

void relay(Table& table) {
  table.section("A sealed frame of 1 KB through the service's relay");
  const OneCore pinned;
  socketLeg(table);
  wholeRoad(table, 1, kCallsPerRound);
  wholeRoad(table, kPairs, 10);
  table.note("Both sides run on one core, so that the work counts and not the waking of another one.");
  table.note(
      "Ours reads a frame's JSON and writes it anew, looks up the pair and waits with a limit; the echo does not.");
}
const Section kSection("relay", relay);

}  // namespace
}  // namespace quillet::bench
