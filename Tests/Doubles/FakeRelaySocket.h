// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletService/RelayHub.h"

namespace quillet::test {

/// A desktop's socket that keeps what it is sent.
class FakeRelaySocket : public RelaySocket {
 public:
  void send(std::string frame) override { frames.push_back(std::move(frame)); }
  void close(int closeCode) override { closedWith = closeCode; }

  /// The frames of one kind, in order.
  template <typename Message>
  std::vector<Message> all() const {
    std::vector<Message> found;
    for (const auto& frame : frames) {
      const auto message = JSONCoding::decode<RelayServerMessage>(frame);
      if (const auto* content = std::get_if<Message>(&message)) found.push_back(*content);
    }
    return found;
  }

  std::vector<std::string> frames;
  std::optional<int> closedWith;
};

}  // namespace quillet::test
