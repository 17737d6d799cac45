// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace quillet {

struct WebSocketMessage {
  bool isText = true;
  std::string data;
};

}  // namespace quillet
