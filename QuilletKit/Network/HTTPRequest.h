// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "QuilletKit/Network/ServiceURL.h"

namespace quillet {

/// One request, ready to be sent as it stands.
struct HTTPRequest {
  std::string method = "GET";
  ServiceURL url;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  std::chrono::milliseconds timeout{30'000};
};

}  // namespace quillet
