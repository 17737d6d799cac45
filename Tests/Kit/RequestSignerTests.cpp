// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/RequestSigner.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "QuilletKit/Base/Base64URL.h"
#include "Tests/Doubles/Rows.h"

namespace quillet {
namespace {

std::string rewritten(std::string_view text) {
  const auto url = ServiceURL::parse(text);
  return url ? url->text() : "absent";
}

TEST(ServiceURL, ParsesAddressesAndNothingElse) {
  for (const auto& [text, url] : test::rows<std::tuple<std::string, std::string>>("service_url", "parsed")) {
    EXPECT_EQ(rewritten(text), url) << text;
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

}  // namespace
}  // namespace quillet
