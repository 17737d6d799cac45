// SPDX-License-Identifier: MIT
#include <boost/asio/co_spawn.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/json/parse.hpp>
#include <list>

#include "Fuzz/FuzzInput.h"
#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Protocol/RequestSigner.h"
#include "QuilletService/Router.h"
#include "Tests/Doubles/FakeRelaySocket.h"
#include "Tests/Doubles/VirtualTime.h"

namespace {

using namespace quillet;
using namespace std::chrono_literals;
namespace http = boost::beast::http;

/// A request off the wire and what became of it.
struct Exchange {
  http::request_parser<http::string_body> parser;
  std::string timestamp, nonce, signature, deviceId;
  std::optional<HTTPReply> reply;

  bool read(std::string_view bytes) {
    boost::system::error_code error;
    parser.eager(true);
    parser.put(boost::asio::buffer(bytes), error);
    return !error && parser.is_header_done();
  }
  std::string header(const char* name) const { return std::string(std::string_view(parser.get()[name])); }
  void takeHeaders() {
    deviceId = header("X-QLT-Device");
    timestamp = header("X-QLT-Timestamp");
    nonce = header("X-QLT-Nonce");
    signature = header("X-QLT-Signature");
  }
  void sign(const DeviceIdentity& sender, std::int64_t at, int number) {
    const SignedRequest plain = view();
    deviceId = sender.deviceId();
    timestamp = std::to_string(at);
    nonce = std::to_string(number);
    const auto canonical = RequestSigner::canonicalString(plain.method, plain.target, at, nonce, bytesOf(plain.body));
    signature = Base64URL::encode(Crypto::sign(sender.signingKey, bytesOf(canonical)));
  }
  SignedRequest view() const {
    const auto& request = parser.get();
    const auto text = [](boost::beast::string_view part) { return std::string_view(part.data(), part.size()); };
    return {
        text(request.method_string()), text(request.target()), deviceId, timestamp, nonce, signature, request.body()};
  }
};

/// The service without sockets, a desktop that is connected, and its phone.
class Server {
 public:
  Server() {
    enrol(mac_, DevicePlatform::macos);
    enrol(phone_, DevicePlatform::ios);
    service_.pairDirectory.add({mac_.deviceId(), phone_.deviceId(), 1});
    desktop_.id = mac_.deviceId();
    desktop_.platform = DevicePlatform::macos;
    service_.relay.connected(desktop_, socket_);
  }
  ~Server() { service_.relay.disconnected(desktop_, socket_); }

  /// A part is a request that the desktop (M), the phone (P) or the sender itself (U) signed, a frame of the desktop
  /// (W), or a pause (any other).
  void take(std::string_view part) {
    const std::string_view rest = part.substr(1);
    if (part[0] == 'W') return service_.relay.handleFrame(mac_.deviceId(), rest);
    if (part[0] != 'M' && part[0] != 'P' && part[0] != 'U') return time_.advance(1s);
    Exchange& exchange = exchanges_.emplace_back();
    if (!exchange.read(rest)) return exchanges_.pop_back();
    exchange.takeHeaders();
    if (part[0] != 'U') exchange.sign(part[0] == 'M' ? mac_ : phone_, time_.source().now(), ++number_);
    run(exchange);
    if (part[0] != 'U') fuzz::require(refusedAsReplay(exchange.view()));
  }

  /// All are answered, with JSON, and never with an internal error.
  void check() {
    time_.advance(61s);
    for (const auto& exchange : exchanges_) {
      fuzz::require(exchange.reply.has_value() && exchange.reply->status != 500);
      boost::system::error_code error;
      boost::json::parse(exchange.reply->body, error);
      fuzz::require(!error);
    }
    for (const auto& frame : socket_.frames) fuzz::require(fuzz::decoded<RelayServerMessage>(frame).has_value());
    service_.sweep();
  }

 private:
  void enrol(const DeviceIdentity& keys, DevicePlatform platform) {
    const PeerIdentity peer = keys.peerIdentity("Device", platform);
    service_.devices.registerDevice(
        {peer.signingPublicKey, peer.agreementPublicKey, platform, peer.name, "1.0", std::nullopt});
  }
  void run(Exchange& exchange) {
    boost::asio::co_spawn(time_.executor(), router_.handle(exchange.view()),
                          [&exchange](std::exception_ptr error, HTTPReply reply) {
                            fuzz::require(!error);
                            exchange.reply = std::move(reply);
                          });
    time_.run();
  }
  /// True also where no nonce was used up: for a refusal, and for a target that asks for no signature.
  bool refusedAsReplay(const SignedRequest& request) {
    const auto& reply = exchanges_.back().reply;
    if (reply && reply->status != 200) return true;
    if (request.target.starts_with("/v1/config") || request.target.starts_with("/v1/health")) return true;
    try {
      service_.authenticator.check(request);
    } catch (const ServiceError& error) {
      return true;
    }
    return false;
  }

  test::VirtualTime time_;
  Service service_{time_.executor(), time_.source(), {}};
  Router router_{service_};
  DeviceIdentity mac_ = fuzz::identityOf(1), phone_ = fuzz::identityOf(2);
  Device desktop_;
  test::FakeRelaySocket socket_;
  std::list<Exchange> exchanges_;
  int number_ = 0;
};

}  // namespace

/// The input's parts stand between record separators.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool quiet = fuzz::silenceLog();
  fuzz::require(quiet);
  Server server;
  std::string_view rest = fuzz::textOf(data, size);
  while (!rest.empty()) {
    const std::string_view part = rest.substr(0, rest.find('\x1e'));
    if (!part.empty()) server.take(part);
    rest.remove_prefix(std::min(part.size() + 1, rest.size()));
  }
  server.check();
  return 0;
}
