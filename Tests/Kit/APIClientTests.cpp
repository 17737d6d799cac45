// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Protocol/APIClient.h"
#include "QuilletKit/Protocol/APIResponse.h"
#include "QuilletKit/Protocol/RequestSigner.h"
#include "Tests/Doubles/Rows.h"
#include "Tests/Kit/HTTPSessionFixture.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;

TEST(ServiceURL, ParsesAddressesAndNothingElse) {
  for (const auto& [text, expected] : rows<std::tuple<std::string, std::string>>("service_url", "parsed")) {
    const auto url = ServiceURL::parse(text);
    EXPECT_EQ(url ? url->text() : "absent", expected) << text;
  }
}

TEST(ServiceURL, PartsOfAConnection) {
  const auto url = ServiceURL::parse("https://[2001:DB8::1]:8443/p");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->host, "2001:DB8::1");
  EXPECT_EQ(url->authority(), "[2001:DB8::1]:8443");
  EXPECT_EQ(url->effectivePort(), "8443");
  EXPECT_EQ(ServiceURL::parse("https://h")->effectivePort(), "443");
  EXPECT_EQ(ServiceURL::parse("ws://h")->effectivePort(), "80");
  for (const auto scheme : {"ws", "wss"}) {
    EXPECT_EQ(ServiceURL::parse(std::string(scheme) + "://h/p")->webSocket().scheme, "wss") << scheme;
  }
}

TEST(ServiceURL, ResolvingReplacesPathAndQuery) {
  const auto base = *ServiceURL::parse("https://h:1/base/path?q=1");
  EXPECT_EQ(base.resolve("//other/x").host, "h");
  for (const auto path : {"", "v1", "?q", "/a b", "/a\r\nHost: x", "/a#f", "/\xc3\xa9", "/%", "/%g0", "/\x7f"}) {
    EXPECT_THROW(base.resolve(path), std::invalid_argument) << path;
  }
}

TEST(RequestSigner, SigningAgainReplacesTheHeaders) {
  const auto header = [](const HTTPRequest& request, std::string_view name) {
    std::string found;
    for (const auto& [key, value] : request.headers) {
      if (key == name) found += value;
    }
    return found;
  };
  const RequestSigner signer(DeviceIdentity::generate());
  HTTPRequest request{.method = "POST", .url = *ServiceURL::parse("https://h/p?q=1"), .body = "{}"};
  request.headers = {{"x-qlt-device", "stale"}, {"User-Agent", "Quillet/1"}};
  signer.sign(request, 1);
  const std::string nonce = header(request, "X-QLT-Nonce");
  EXPECT_EQ(Base64URL::decode(nonce)->size(), 16u);
  signer.sign(request, 2);
  EXPECT_EQ(request.headers.size(), 5u);
  EXPECT_EQ(header(request, "X-QLT-Timestamp"), "2");
  EXPECT_NE(header(request, "X-QLT-Nonce"), nonce);
  HTTPRequest nowhere;
  signer.sign(nowhere, 1);
  EXPECT_TRUE(nowhere.headers.empty());
}

TEST(APIResponse, AnErrorWithoutAWordOfTheServiceIsNamedAfterItsStatus) {
  EXPECT_TRUE(decodeResponse<OK>(299, R"({"ok":true})").ok);
  const std::tuple<int, std::string, APIErrorBody> cases[] = {
      {499, "", {"http_499", "Client Closed Request", false}},
      {307, "", {"http_307", "Temporary Redirect", false}},
      {555, "<html>Bad \xff gateway", {"http_555", "The service answered with status 555.", true}},
      {403, R"({"error":{"code":"device_revoked","message":"m","retryable":true}})", {"device_revoked", "m", true}},
  };
  for (const auto& [status, body, expected] : cases) {
    EXPECT_THAT(([&, code = status, text = body] { decodeResponse<OK>(code, text); }),
                testing::Throws<APIError>(APIError(APIError::Server{status, expected})))
        << status << body;
  }
}

struct APIClientTest : HTTPSessionTest {
  DeviceIdentity identity = DeviceIdentity::generate();
  LoopbackServer server{[](LoopbackServer& self, LoopbackServer::Socket socket) -> Awaitable<void> {
    for (;;) {
      co_await self.readRequest(socket);
      co_await LoopbackServer::write(socket, LoopbackServer::answer(404, ""));
    }
  }};
  APIClient api{server.url(), identity, session};

  /// Performs it and gives the request that arrived.
  template <typename R>
  LoopbackServer::Request sent(Awaitable<R> operation) {
    EXPECT_THROW(main.await(std::move(operation)), APIError);
    return server.requests().back();
  }
  bool signedRightly(const LoopbackServer::Request& r) const {
    const std::string canonical =
        RequestSigner::canonicalString(r.method_string(), r.target(), std::stoll(std::string(r["X-QLT-Timestamp"])),
                                       r["X-QLT-Nonce"], bytesOf(r.body()));
    const auto signature = Base64URL::decode(r["X-QLT-Signature"]);
    return r["X-QLT-Device"] == identity.deviceId() && signature &&
           Crypto::verify(identity.signingPublicKey(), bytesOf(canonical), *signature);
  }
};

TEST_F(APIClientTest, EveryOperationHasItsMethodPathAndBody) {
  const std::string json = "application/json";
  const std::tuple<LoopbackServer::Request, std::string, std::string> cases[] = {
      {sent(api.registerDevice(DevicePlatform::macos, "n", "1")), "POST /v1/devices/register", json},
      {sent(api.rename("n/m")), "PATCH /v1/devices/me", json},
      {sent(api.sendFeedback({"m", std::nullopt, "1", "o", "x"})), "POST /v1/feedback", json},
      {sent(api.pairs()), "GET /v1/pairs", ""},
      {sent(api.removePair("p")), "DELETE /v1/pairs/p", ""},
      {sent(api.deleteDevice()), "POST /v1/devices/me/delete", ""},
      {sent(api.transcribe({"u"}, Bytes{0, 1})), "POST /v1/transcribe", "application/vnd.qlt.transcribe"},
      {sent(api.createPairingSession(Bytes(32), "n")), "POST /v1/pairing/sessions", json},
      {sent(api.claimPairing({std::nullopt, "ab", "k", "n"})), "POST /v1/pairing/claim", json},
      {sent(api.pairingStatus("s")), "GET /v1/pairing/sessions/s", ""},
      {sent(api.confirmPairing("s", "b")), "POST /v1/pairing/sessions/s/confirm", json},
      {sent(api.cancelPairing("s")), "POST /v1/pairing/sessions/s/cancel", ""},
      {sent(api.prepareTarget("m", {"r", {}})), "POST /v1/macs/m/prepare", json},
      {sent(api.submitDelivery("m", {"u", {}})), "POST /v1/macs/m/deliveries", json},
      {sent(api.waitForDelivery("m", "u", 20)), "GET /v1/macs/m/deliveries/u?wait=20", ""},
      {sent(api.cancelDelivery("m", "u")), "DELETE /v1/macs/m/deliveries/u", ""},
      {sent(api.presence()), "GET /v1/presence", ""},
  };
  for (const auto& [request, line, type] : cases) {
    EXPECT_EQ(std::string(request.method_string()) + " " + std::string(request.target()), line);
    EXPECT_EQ(request["Content-Type"], type) << line;
    EXPECT_EQ(request.body().empty(), type.empty()) << line;
    EXPECT_EQ(request["User-Agent"], "Quillet/1") << line;
    EXPECT_EQ(request["Host"], server.url().authority()) << line;
    EXPECT_EQ(request.count("X-QLT-DeviceCheck"), 0u) << line;
    EXPECT_TRUE(signedRightly(request)) << line;
  }
  EXPECT_EQ(std::get<0>(cases[1]).body(), R"({"name":"n/m"})");
}

TEST_F(APIClientTest, TheConfigurationIsReadWithoutASignature) {
  const auto request = sent(api.config());
  EXPECT_EQ(request.target(), "/v1/config");
  for (const char* header : {"User-Agent", "X-QLT-Device", "X-QLT-Signature", "X-QLT-Nonce", "X-QLT-Timestamp"}) {
    EXPECT_EQ(request.count(header), 0u) << header;
  }
}

TEST_F(APIClientTest, AnIdThatCannotStandInAPathSendsNothing) {
  for (const std::string id : {"", " ", "a b", "a/b", "a?b", "a#b", "a%2fb", "a\r\nX: y", "..", "\x7f"}) {
    EXPECT_THAT([&] { main.await(api.removePair(id)); },
                testing::Throws<APIError>(
                    testing::Field(&APIError::detail, testing::VariantWith<APIError::Transport>(testing::_))))
        << id;
    EXPECT_THROW(main.await(api.cancelDelivery("m", id)), APIError) << id;
  }
  EXPECT_EQ(server.connections(), 0);
}

TEST_F(APIClientTest, SocketRequestsAreSignedBeforeTheirSchemeChanges) {
  const HTTPRequest relay = api.relayRequest();
  EXPECT_EQ(relay.url.scheme, "ws");
  EXPECT_EQ(relay.url.target, "/v1/mac/connect");
  EXPECT_EQ(relay.timeout, 30s);
  const APIClient secure(*ServiceURL::parse("https://x.example/old"), identity, session);
  EXPECT_EQ(secure.relayRequest().url.text(), "wss://x.example/v1/mac/connect");

  APIClient checked(server.url(), identity, session,
                    []() -> Awaitable<std::optional<std::string>> { co_return "token"; });
  const HTTPRequest stream = main.await(checked.transcriptionStreamRequest("a b&c", RecognitionLanguage::automatic));
  EXPECT_EQ(stream.url.target, "/v1/transcribe/stream?utteranceId=a%20b%26c&language=auto");
  EXPECT_EQ(stream.timeout, 8s);
  EXPECT_EQ(stream.headers.back(), std::pair(std::string("X-QLT-DeviceCheck"), std::string("token")));
  const auto upload = sent(checked.transcribe({"u"}, Bytes{1}));
  EXPECT_EQ(upload["X-QLT-DeviceCheck"], "token");
  EXPECT_TRUE(signedRightly(upload));
}

}  // namespace
}  // namespace quillet::test
