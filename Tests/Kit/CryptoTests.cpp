// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/Crypto.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace quillet {
namespace {

using namespace Crypto;

Key filledKey(std::uint8_t value) {
  Key key;
  key.fill(value);
  return key;
}

TEST(Crypto, ASignatureFitsOneKeyAndOneMessage) {
  const Key first = filledKey(1), second = filledKey(2);
  // Two keys by turns: what is remembered of one must not sign for the other.
  const Signature byFirst = sign(first, bytesOf("text"));
  const Signature bySecond = sign(second, bytesOf("text"));
  EXPECT_EQ(sign(first, bytesOf("text")), byFirst);
  EXPECT_NE(byFirst, bySecond);
  EXPECT_TRUE(verify(ed25519PublicKey(first), bytesOf("text"), byFirst));
  EXPECT_TRUE(verify(ed25519PublicKey(second), bytesOf("text"), bySecond));
  EXPECT_FALSE(verify(ed25519PublicKey(first), bytesOf("text"), bySecond));
  EXPECT_FALSE(verify(ed25519PublicKey(first), bytesOf("texT"), byFirst));
  EXPECT_FALSE(verify(ed25519PublicKey(first), bytesOf("text"), ByteView(byFirst).first(63)));
  EXPECT_FALSE(verify(ed25519PublicKey(first), bytesOf("text"), {}));
}

TEST(Crypto, ManyThreadsAtOnce) {
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (std::uint8_t t = 1; t <= 4; ++t) {
    threads.emplace_back([&wrong, t] {
      const Key key = filledKey(t);
      for (int i = 0; i < 50; ++i) {
        const Bytes message = randomBytes(200);
        if (open(key, seal(key, {}, message, {}), {}) != message) ++wrong;
        if (!verify(ed25519PublicKey(key), sha256(message), sign(key, sha256(message)))) ++wrong;
        if (hkdf(message, {}, {}, 32) != hkdf(message, Bytes(32), {}, 32)) ++wrong;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace quillet
