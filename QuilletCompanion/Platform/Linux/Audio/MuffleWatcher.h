// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace quillet {

/// A process that gives others' sound back if this one ends without doing so, whatever ended it. It knows only what
/// it is told, lives as long as this object, and does nothing before our end.
class MuffleWatcher {
 public:
  MuffleWatcher() = default;
  /// Lets the process give the sound back, unless it was dismissed.
  ~MuffleWatcher() { letGo(); }
  MuffleWatcher(const MuffleWatcher&) = delete;
  MuffleWatcher& operator=(const MuffleWatcher&) = delete;

  /// Starts it; it is there when this returns. 0, or an error number.
  int start();
  /// The module that makes our sink.
  void tellModule(std::uint32_t index);
  /// A stream that is about to be moved, and the sink it belongs to, or nothing for the default one.
  void tellStream(std::uint32_t index, const std::string& home);
  /// There is nothing to give back any more.
  void dismiss();
  /// Lets it do its work now.
  void letGo();

 private:
  void send(const std::string& message) const;

  int socket_ = -1;
};

}  // namespace quillet
