// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quillet {

/// A sound device as the platform lists it.
struct AudioDevice {
  std::uint32_t id = 0;             ///< Of this run of the sound system only.
  std::string uid;                  ///< Stable across restarts; empty where it has none.
  std::optional<std::string> name;  ///< For people.
  bool hasInput = false;            ///< Records from outside: a copy of what is played is no input.
  std::optional<bool> hidden;       ///< Absent where the platform doesn't say.

  bool operator==(const AudioDevice&) const = default;
};

/// The platform's sound devices. Main thread only.
class AudioDevices {
 public:
  struct List {
    std::vector<AudioDevice> all;
    std::optional<std::uint32_t> defaultInput;  ///< An `id`.
    bool operator==(const List&) const = default;
  };
  /// Ends the watching when destroyed.
  class Watch {
   public:
    virtual ~Watch() = default;
  };

  virtual ~AudioDevices() = default;

  /// Tells the list soon, never inside this call, and after each change. A sound system that is gone has no devices.
  virtual std::unique_ptr<Watch> watch(std::function<void(const List&)> onList) = 0;
};

}  // namespace quillet
