// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "QuilletKit/Identity/SecretStore.h"

namespace quillet::test {

/// What every SecretStore must do. `Backend` is default-constructible and has
///   std::unique_ptr<SecretStore> open(const std::string& service);
/// where two stores opened for one service on one backend share their items.
/// Use: INSTANTIATE_TYPED_TEST_SUITE_P(Name, SecretStoreContract, Backend);
template <typename Backend>
class SecretStoreContract : public testing::Test {
 protected:
  Backend backend_;
  std::unique_ptr<SecretStore> store_ = backend_.open("com.example.service");
};
TYPED_TEST_SUITE_P(SecretStoreContract);

TYPED_TEST_P(SecretStoreContract, AMissingItemIsNoError) {
  EXPECT_EQ(this->store_->load("never saved"), std::nullopt);
  EXPECT_NO_THROW(this->store_->remove("never saved"));
}

TYPED_TEST_P(SecretStoreContract, LoadGivesExactlyWhatWasSaved) {
  Bytes everyByte(256);
  for (std::size_t i = 0; i < everyByte.size(); ++i) everyByte[i] = static_cast<std::uint8_t>(i);
  for (const Bytes& value : {Bytes{}, Bytes{0}, Bytes(32, 0xff), everyByte, Bytes(20000, 'x')}) {
    this->store_->save(value, "item");
    EXPECT_EQ(this->store_->load("item"), value) << value.size();
  }
}

TYPED_TEST_P(SecretStoreContract, KeysAreKeptApart) {
  const std::vector<std::string> keys{"a",   "A", "a ", "a/b", "a.b", "..", ".",    "",
                                      "%61", "%", "*",  "-",   "ä",   "\n", "a\\b", "device.signing.v1"};
  for (std::size_t i = 0; i < keys.size(); ++i) this->store_->save(Bytes{static_cast<std::uint8_t>(i)}, keys[i]);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(this->store_->load(keys[i]), Bytes{static_cast<std::uint8_t>(i)}) << keys[i];
  }
  this->store_->remove("a");
  EXPECT_TRUE(this->store_->load("A"));
  EXPECT_FALSE(this->store_->load("a"));
}

TYPED_TEST_P(SecretStoreContract, ServicesAreKeptApart) {
  const auto other = this->backend_.open("com.example.other");
  this->store_->save(Bytes{1}, "item");
  EXPECT_EQ(other->load("item"), std::nullopt);
  other->save(Bytes{2}, "item");
  other->remove("item");
  EXPECT_EQ(this->store_->load("item"), Bytes{1});
}

TYPED_TEST_P(SecretStoreContract, ItemsOutliveTheStore) {
  this->store_->save(Bytes{1}, "item");
  this->store_ = this->backend_.open("com.example.service");
  EXPECT_EQ(this->store_->load("item"), Bytes{1});
  this->store_->remove("item");
  this->store_ = this->backend_.open("com.example.service");
  EXPECT_EQ(this->store_->load("item"), std::nullopt);
}

TYPED_TEST_P(SecretStoreContract, ManyThreadsKeepItConsistent) {
  std::atomic<int> wrong = 0;
  this->store_->save(Bytes(64, 0), "shared");
  std::vector<std::thread> threads;
  for (std::uint8_t t = 1; t <= 4; ++t) {
    threads.emplace_back([&wrong, t, store = this->store_.get()] {
      const std::string own = "own" + std::to_string(t);
      for (int i = 0; i < 25; ++i) {
        store->save(Bytes(64, t), "shared");
        const auto shared = store->load("shared");
        if (!shared || *shared != Bytes(64, shared->front())) ++wrong;
        store->save(Bytes{t}, own);
        if (store->load(own) != Bytes{t}) ++wrong;
        store->remove(own);
        if (store->load(own)) ++wrong;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

REGISTER_TYPED_TEST_SUITE_P(SecretStoreContract, AMissingItemIsNoError, LoadGivesExactlyWhatWasSaved, KeysAreKeptApart,
                            ServicesAreKeptApart, ItemsOutliveTheStore, ManyThreadsKeepItConsistent);

}  // namespace quillet::test
