// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>

namespace quillet {

/// No usable response: name not resolved, refused, cut, timed out, not HTTP. what() says so for people.
struct TransportError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace quillet
