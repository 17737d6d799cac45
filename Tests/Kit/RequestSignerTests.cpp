// SPDX-License-Identifier: MIT
#include "QuilletKit/RequestSigner.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "QuilletKit/Base64URL.h"

namespace quillet {
namespace {

std::string rewritten(std::string_view text) {
  const auto url = ServiceURL::parse(text);
  return url ? url->text() : "absent";
}

TEST(ServiceURL, WhatParses) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"https://service.example", "https://service.example/"},
      {"HTTPS://Service.example/a", "https://Service.example/a"},
      {"http://127.0.0.1:8787/v1?x=1&y=a%20b", "http://127.0.0.1:8787/v1?x=1&y=a%20b"},
      {"https://h?x=1", "https://h/?x=1"},
      {"https://h/p?", "https://h/p"},
      {"https://h/p?#f", "https://h/p"},
      {"https://h/p#f?x", "https://h/p"},
      {"https://h#f", "https://h/"},
      {"https://h:/p", "https://h/p"},
      {"https://h//p/../q;a", "https://h//p/../q;a"},
      {"wss://[::1]:8443/p", "wss://[::1]:8443/p"},
      {"ws://[fe80::1]", "ws://[fe80::1]/"},
  };
  for (const auto& [text, url] : cases) EXPECT_EQ(rewritten(text), url);
}

TEST(ServiceURL, WhatIsNoServiceURL) {
  const std::string_view cases[] = {
      "",
      "https",
      "https:",
      "https://",
      "https:///p",
      "//h/p",
      "ftp://h/",
      "://h",
      "https://:80",
      "https://h:0",
      "https://h:65536",
      "https://h:8a",
      "https://h:-1",
      "https://h:80:80",
      "https://[",
      "https://[::1",
      "https://[]/",
      "https://[::1]x/",
      "https://[h]/",
      "https://u@h/",
      "https://h/a b",
      "https://h/\n",
      "https://h/\x7f",
      "https://h/\xc3\xa9",
      "https://h/%",
      "https://h/%4",
      "https://h/%zz",
      " https://h",
      "https://?x",
      "https://#",
  };
  for (const auto text : cases) EXPECT_EQ(rewritten(text), "absent") << text;
}

TEST(ServiceURL, PartsOfAConnection) {
  const auto url = ServiceURL::parse("https://[2001:DB8::1]:8443/p");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->host, "2001:DB8::1");
  EXPECT_EQ(url->authority(), "[2001:DB8::1]:8443");
  EXPECT_EQ(url->effectivePort(), "8443");
  EXPECT_EQ(ServiceURL::parse("https://h")->effectivePort(), "443");
  EXPECT_EQ(ServiceURL::parse("ws://h")->effectivePort(), "80");
  EXPECT_EQ(ServiceURL::parse("http://h/p?q")->webSocket().text(), "ws://h/p?q");
  for (const auto scheme : {"https", "ws", "wss"}) {
    EXPECT_EQ(ServiceURL::parse(std::string(scheme) + "://h/p")->webSocket().scheme, "wss") << scheme;
  }
}

TEST(ServiceURL, ResolvingReplacesPathAndQuery) {
  const auto base = *ServiceURL::parse("https://h:1/base/path?q=1");
  EXPECT_EQ(base.resolve("/v1/pairs").text(), "https://h:1/v1/pairs");
  EXPECT_EQ(base.resolve("/v1/x?wait=20").target, "/v1/x?wait=20");
  EXPECT_EQ(base.resolve("//other/x").host, "h");
  for (const auto path : {"", "v1", "?q", "/a b", "/a\r\nHost: x", "/a#f", "/\xc3\xa9", "/%", "/%g0", "/\x7f"}) {
    EXPECT_THROW(base.resolve(path), std::invalid_argument) << path;
  }
}

TEST(RequestSigner, CanonicalStringHasSixLines) {
  EXPECT_EQ(RequestSigner::canonicalString("get", "/v1/x?wait=20", 1760000000000, "n", {}),
            "QLT1\nGET\n/v1/x?wait=20\n1760000000000\nn\n"
            "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(RequestSigner::canonicalString("", "", -1, "", bytesOf("abc")),
            "QLT1\nGET\n/\n-1\n\nba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

class Signing : public testing::Test {
 protected:
  std::string header(std::string_view name) const {
    std::string found;
    for (const auto& [key, value] : request_.headers) {
      if (key == name) found += value;
    }
    return found;
  }
  /// What a service does with the request as it arrives.
  bool verifies() const {
    const std::string canonical =
        RequestSigner::canonicalString(request_.method, request_.url.target, std::stoll(header("X-QLT-Timestamp")),
                                       header("X-QLT-Nonce"), bytesOf(request_.body));
    return Crypto::verify(identity_.signingPublicKey(), bytesOf(canonical),
                          Base64URL::decode(header("X-QLT-Signature")).value_or(Bytes()));
  }

  DeviceIdentity identity_ = DeviceIdentity::generate();
  RequestSigner signer_{identity_};
  HTTPRequest request_{.method = "POST", .url = *ServiceURL::parse("https://h/p?q=1"), .body = "{}"};
};

TEST_F(Signing, BindsWhatItShouldAndNothingElse) {
  signer_.sign(request_, 1760000000000);
  EXPECT_EQ(request_.headers.size(), 4u);
  EXPECT_EQ(header("X-QLT-Device"), identity_.deviceId());
  EXPECT_EQ(Base64URL::decode(header("X-QLT-Nonce"))->size(), 16u);
  EXPECT_TRUE(verifies());

  const HTTPRequest signedRequest = request_;
  request_.headers.emplace_back("X-QLT-DeviceCheck", "later");
  request_.url = request_.url.webSocket();
  EXPECT_TRUE(verifies());
  request_.url.host = "elsewhere";
  EXPECT_TRUE(verifies());
  request_.url.target = "/p?q=2";
  EXPECT_FALSE(verifies());
  request_ = signedRequest;
  request_.method = "PUT";
  EXPECT_FALSE(verifies());
  request_ = signedRequest;
  request_.body = "{ }";
  EXPECT_FALSE(verifies());
}

TEST_F(Signing, SigningAgainReplacesTheHeaders) {
  request_.headers = {{"x-qlt-device", "stale"}, {"User-Agent", "Quillet/1"}};
  signer_.sign(request_, 1);
  const std::string nonce = header("X-QLT-Nonce");
  signer_.sign(request_, 2);
  EXPECT_EQ(request_.headers.size(), 5u);
  EXPECT_EQ(header("X-QLT-Timestamp"), "2");
  EXPECT_NE(header("X-QLT-Nonce"), nonce);
  EXPECT_TRUE(verifies());
}

TEST_F(Signing, ARequestWithoutAURLStaysUnsigned) {
  request_.url = {};
  signer_.sign(request_, 1);
  EXPECT_TRUE(request_.headers.empty());
}

}  // namespace
}  // namespace quillet
