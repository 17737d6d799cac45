// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Protocol/APIClient.h"
#include "QuilletKit/Protocol/Envelope.h"
#include "QuilletKit/Protocol/RequestSigner.h"
#include "QuilletService/Router.h"
#include "Tests/Doubles/FakeRelaySocket.h"
#include "Tests/Doubles/VirtualTime.h"

namespace quillet::test {

/// A device on the client's side.
struct Party {
  Party(std::string displayName, DevicePlatform platform)
      : name(std::move(displayName)), peer(identity.peerIdentity(name, platform)) {}
  RegisterRequest registration() const {
    return {peer.signingPublicKey, peer.agreementPublicKey, peer.platform, name, "1.0", std::nullopt};
  }
  const std::string& id() const { return peer.deviceId; }

  DeviceIdentity identity = DeviceIdentity::generate();
  std::string name;
  PeerIdentity peer;
};

inline std::string freshKey() {
  return Base64URL::encode(Crypto::x25519PublicKey(Crypto::generatePrivateKey()));
}

/// The code of the ServiceError that `work` throws; empty if it throws none.
template <typename Work>
std::string refusalOf(Work work) {
  try {
    work();
    return {};
  } catch (const ServiceError& e) {
    return std::to_string(e.status) + " " + e.body.code;
  }
}

/// All of a request's steps at once. Gives who sent it, or throws.
inline Device authenticate(Authenticator& authenticator, const SignedRequest& request) {
  const Authenticator::Check check = authenticator.check(request);
  authenticator.accept(request, check, check.holds());
  return authenticator.sender(request);
}

/// Pairs two devices that the service knows, over HTTP.
inline Awaitable<void> pairOver(APIClient& macAPI, APIClient& phoneAPI) {
  const auto created = co_await macAPI.createPairingSession(Crypto::randomBytes(32), "Desk");
  ClaimPairingRequest claim{std::nullopt, created.code, freshKey(), "Pocket"};
  co_await phoneAPI.claimPairing(std::move(claim));
  co_await phoneAPI.confirmPairing(created.sessionId, "sealed-by-phone");
  const auto status = co_await macAPI.confirmPairing(created.sessionId, "sealed-by-mac");
  EXPECT_EQ(status.state, PairingState::paired);
}

/// What the service answers when it doesn't do as it was asked: "429 too_many_requests"; empty if it does.
template <typename Response>
Awaitable<std::string> refusal(Awaitable<Response> call) {
  try {
    co_await std::move(call);
    co_return std::string();
  } catch (const APIError& e) {
    co_return e.server() ? std::to_string(e.server()->status) + " " + e.server()->body.code : e.what();
  }
}

/// The service without sockets, in virtual time, with one desktop and one phone that aren't paired yet.
class ServiceTest : public testing::Test {
 protected:
  explicit ServiceTest(const ServiceSettings& settings = {}) : service(time.executor(), time.source(), settings) {}
  void TearDown() override {
    time.advance(std::chrono::minutes(2));  // longer than anyone waits
    EXPECT_EQ(time.sleepers(), 0U);
  }
  Device enrol(const Party& party) {
    service.devices.registerDevice(party.registration());
    return {.id = party.id(),
            .signingKey = party.peer.signingKey(),
            .agreementKey = party.peer.agreementKey(),
            .platform = party.peer.platform,
            .name = party.name};
  }
  void pairThem() { service.pairDirectory.add({mac.id(), phone.id(), time.wall}); }

  Envelope sealed(EnvelopePurpose purpose, const Party& from, const Party& to, const std::string& content = "{}") {
    return Envelope::sealBytes(content, purpose, from.identity, to.peer);
  }
  template <typename Message>
  void frameFromDesktop(Message message) {
    service.relay.handleFrame(mac.id(), JSONCoding::encode(RelayClientMessage(std::move(message))));
  }
  /// Starts a call and gives a handle to what comes of it.
  template <typename Response>
  struct Running {
    std::optional<Response> response;
    std::string refusal;
    bool ended() const { return response || !refusal.empty(); }
  };
  template <typename Response>
  std::shared_ptr<Running<Response>> start(Awaitable<Response> call) {
    auto running = std::make_shared<Running<Response>>();
    boost::asio::co_spawn(time.executor(), std::move(call), [running](std::exception_ptr error, Response response) {
      if (error) {
        running->refusal = refusalOf([&] { std::rethrow_exception(error); });
      } else {
        running->response = std::move(response);
      }
    });
    time.run();
    return running;
  }

  VirtualTime time;
  Service service;
  Party mac{"Desk", DevicePlatform::macos}, phone{"Pocket", DevicePlatform::ios}, other{"Other", DevicePlatform::ios};
  Device macDevice = enrol(mac), phoneDevice = enrol(phone), otherDevice = enrol(other);
};

}  // namespace quillet::test
