// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace quillet {

/// A microphone as it is listed and stored.
struct AudioInput {
  std::string uid;   ///< Stable across restarts; its identity in lists.
  std::string name;  ///< For people; the uid where the device has no name.

  bool operator==(const AudioInput&) const = default;
};

}  // namespace quillet
