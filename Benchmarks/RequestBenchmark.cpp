// SPDX-License-Identifier: MIT
#include <boost/asio/co_spawn.hpp>

#include "Benchmarks/ServiceRig.h"
#include "Benchmarks/Table.h"
#include "QuilletKit/Base/Base64URL.h"
#include "QuilletService/ServiceError.h"

/// What a signed request costs beside a plain one, and how soon a forged one is out of the house.
namespace quillet::bench {
namespace {

constexpr int kRounds = 12;
constexpr int kCallsPerRound = 250;
constexpr double kForgeryLimit = 20;

struct Wire {
  std::string method = "GET", target = "/v1/pairs", device, timestamp, nonce, signature;
  SignedRequest view(std::string_view address) const {
    return {method, target, device, timestamp, nonce, signature, {}, address};
  }
};

Wire wireFor(const Identity& device, std::int64_t timestamp) {
  Wire wire;
  wire.device = device.peer.deviceId;
  wire.timestamp = std::to_string(timestamp);
  wire.nonce = Base64URL::encode(Crypto::randomBytes(16));
  const auto canonical = RequestSigner::canonicalString(wire.method, wire.target, timestamp, wire.nonce, ByteView());
  wire.signature = Base64URL::encode(Crypto::sign(device.identity.signingKey, bytesOf(canonical)));
  return wire;
}

/// Request after request on one connection; each sample is one in microseconds.
class Client {
 public:
  explicit Client(const tcp::endpoint& endpoint) : socket_(dial(context_, endpoint)) {}
  void call(const std::vector<http::request<http::string_body>>& requests, std::vector<double>& samples) {
    std::exception_ptr failure;
    asio::co_spawn(
        context_,
        [&]() -> Awaitable<void> {
          for (const auto& request : requests) {
            const auto start = SteadyClock::now();
            co_await exchange(socket_, request);
            samples.push_back(microsecondsSince(start));
          }
        },
        [&](std::exception_ptr error) { failure = error; });
    context_.restart();
    context_.run();
    if (failure) std::rethrow_exception(failure);
  }

 private:
  asio::io_context context_{1};
  tcp::socket socket_;
};

/// CPU of one call on this thread, the median of several batches.
template <typename Call>
double cpuOf(Call call) {
  constexpr int kCalls = 200;
  std::vector<double> batches;
  for (int batch = 0; batch < 15; ++batch) {
    const double before = threadCPUMicroseconds();
    for (int i = 0; i < kCalls; ++i) call();
    batches.push_back((threadCPUMicroseconds() - before) / kCalls);
  }
  return percentile(batches, 0.5);
}

void signedBesidePlain(Table& table, ServiceThread& ours, const Identity& phone, double verification) {
  Client signedClient(ours.endpoint), plainClient(ours.endpoint);
  // The signed one reads the pairs, which isn't what is measured here.
  const double answering = ours.loop.run([&] {
    Device device{.id = phone.peer.deviceId, .platform = DevicePlatform::ios};
    return cpuOf([&] { keep(JSONCoding::encode(ours.service->devices.pairs(device))); });
  });
  std::vector<double> times, plainTimes;
  double cpu = 0, plainCPU = 0;
  for (int round = 0; round < kRounds; ++round) {
    // The plain ones carry the same headers.
    std::vector<http::request<http::string_body>> signedOnes, plainOnes;
    for (int i = 0; i < kCallsPerRound; ++i) {
      signedOnes.push_back(signedRequest(phone.identity, "GET", "/v1/pairs"));
      plainOnes.push_back(signedRequest(phone.identity, "GET", "/v1/health"));
    }
    const double before = ours.loop.cpu();
    signedClient.call(signedOnes, times);
    const double between = ours.loop.cpu();
    plainClient.call(plainOnes, plainTimes);
    cpu += between - before;
    plainCPU += ours.loop.cpu() - between;
  }
  const auto calls = static_cast<double>(times.size());
  table.add({"a signed request, p50",
             {percentile(times, 0.5), "us"},
             "a plain one, one verification, the answer",
             Figure{percentile(plainTimes, 0.5) + verification + answering, "us"},
             1.15});
  table.add({"the same in CPU of the service",
             {cpu / calls, "us"},
             "a plain one, one verification, the answer",
             Figure{plainCPU / calls + verification + answering, "us"}});
}

/// All of a request's steps on this thread.
Device authenticate(Authenticator& authenticator, const SignedRequest& request) {
  const Authenticator::Check check = authenticator.check(request);
  authenticator.accept(request, check, check.holds());
  return authenticator.sender(request);
}

/// CPU of one refusal by the authenticator, the median of several batches, on the service's thread.
double refusalCost(ServiceThread& ours, const std::vector<Wire>& forged, std::string_view address, int status,
                   int rounds = 15) {
  return ours.loop.run([&] {
    std::vector<double> batches;
    for (int round = 0; round < rounds; ++round) {
      const double before = threadCPUMicroseconds();
      for (const Wire& wire : forged) {
        try {
          keep(authenticate(ours.service->authenticator, wire.view(address)));
          throw std::logic_error("a forgery was taken");
        } catch (const ServiceError& e) {
          if (e.status != status) throw std::logic_error("refused for another reason");
        }
      }
      batches.push_back((threadCPUMicroseconds() - before) / static_cast<double>(forged.size()));
    }
    return percentile(batches, 0.5);
  });
}

/// A wrong signature that looks right has to be verified, until its sender is known for it: each comes from elsewhere.
double verifiedForgeryCost(ServiceThread& ours, const std::vector<Wire>& forged) {
  std::vector<double> costs;
  for (std::size_t i = 0; i < 200; ++i) {
    costs.push_back(refusalCost(ours, {forged[i % forged.size()]}, "10.0.0." + std::to_string(i), 401, 1));
  }
  return percentile(costs, 0.5);
}

void forgeries(Table& table, ServiceThread& ours, const Identity& phone, double verification) {
  const std::int64_t now = Clock::now();
  std::vector<Wire> good, unknown, old, cut, noText, large, point, wrong;
  const Identity stranger(DevicePlatform::ios);
  for (int i = 0; i < 200; ++i) {
    const Wire wire = wireFor(phone, now);
    good.push_back(wire);
    const auto changed = [&](std::vector<Wire>& list, auto change) {
      Wire copy = wireFor(phone, now);
      change(copy);
      list.push_back(std::move(copy));
    };
    unknown.push_back(wireFor(stranger, now));
    old.push_back(wireFor(phone, now - 600'000));
    changed(cut, [](Wire& w) { w.signature.resize(60); });
    changed(noText, [](Wire& w) { w.signature[5] = '!'; });
    const auto withBytes = [](std::size_t from, std::size_t to, std::uint8_t value) {
      return [=](Wire& w) {
        Bytes raw = *Base64URL::decode(w.signature);
        std::fill(raw.begin() + static_cast<std::ptrdiff_t>(from), raw.begin() + static_cast<std::ptrdiff_t>(to),
                  value);
        w.signature = Base64URL::encode(raw);
      };
    };
    changed(large, withBytes(32, 64, 0xFF));
    changed(point, withBytes(0, 32, 0));
    changed(wrong, [](Wire& w) { w.target = "/v1/presence"; });
  }
  ours.loop.run([&] {
    for (const Wire& wire : good) authenticate(ours.service->authenticator, wire.view("127.0.0.1"));
  });
  const auto add = [&](const char* what, const std::vector<Wire>& forged, int status, const char* address) {
    table.add({what, {refusalCost(ours, forged, address, status), "us"}, "", {}, kForgeryLimit});
  };
  add("refused: an unknown device", unknown, 401, "1");
  add("refused: a time too far off", old, 401, "1");
  add("refused: a replay", good, 401, "1");
  add("refused: a signature cut short", cut, 401, "1");
  add("refused: a signature that is no base64url", noText, 401, "1");
  table.add({"refused: a wrong signature, the first five a minute",
             {verifiedForgeryCost(ours, wrong), "us"},
             "one verification",
             Figure{verification, "us"}});
  const auto cheap = [&](const char* what, const std::vector<Wire>& forged) {
    std::vector<double> costs;
    for (int i = 0; i < 40; ++i) {
      // Five from each address: before anyone is cut off.
      const std::vector<Wire> one(forged.begin() + i, forged.begin() + i + 1);
      costs.push_back(refusalCost(ours, one, std::string(what) + std::to_string(i), 401, 1));
    }
    table.add({what, {percentile(costs, 0.5), "us"}, "", {}, kForgeryLimit});
  };
  cheap("refused: a signature with S beyond the order", large);
  cheap("refused: a signature with a point of small order", point);
  for (std::size_t i = 0; i < 5; ++i) refusalCost(ours, {wrong[i]}, "forger", 401, 1);
  add("refused: a wrong signature, from the sixth on", wrong, 429, "forger");
  table.note("A wrong signature that looks right costs one verification, and nothing can tell it for less.");
  table.note("Who sends five of them in a minute in one device's name isn't verified again from that address.");
}

void request(Table& table) {
  table.section("Signed requests");
  ServiceThread ours;
  const Identity mac(DevicePlatform::macos), phone(DevicePlatform::ios);
  ours.pair(mac, phone);
  const std::string message(200, 'm');
  const Crypto::Key key = phone.peer.signingKey();
  const auto signature = Crypto::sign(phone.identity.signingKey, bytesOf(message));
  const double verification = cpuOf([&] { keep(Crypto::verify(key, bytesOf(message), signature)); });
  table.note("one verification alone: " + std::to_string(verification).substr(0, 5) + " us");
  signedBesidePlain(table, ours, phone, verification);
  forgeries(table, ours, phone, verification);
}
const Section kSection("request", request);

}  // namespace
}  // namespace quillet::bench
