// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>

namespace quillet {

/// Ends waits for an X server that has stopped answering. Xlib waits without a limit; but a connection that is shut
/// down fails at once, also in the middle of a wait. Its thread sleeps while nobody waits, and is never joined.
class ServerWatch {
 public:
  /// How long a server may take.
  static constexpr std::chrono::milliseconds limit{1500};

  static ServerWatch& shared();

  /// From now on this connection is shut down if its server stays silent.
  void add(int descriptor);
  /// To be called before the connection is closed.
  void remove(int descriptor);
  /// The main thread may wait for a server until `end`. Nests.
  void begin();
  void end();

 private:
  ServerWatch();
  void run();

  std::mutex mutex_;
  std::condition_variable wake_;
  std::set<int> descriptors_;
  std::chrono::steady_clock::time_point due_;
  int waits_ = 0;
  bool asleep_ = false;
};

/// While it lives, the main thread may wait for a server.
class ServerWait {
 public:
  ServerWait() { ServerWatch::shared().begin(); }
  ~ServerWait() { ServerWatch::shared().end(); }
  ServerWait(const ServerWait&) = delete;
  ServerWait& operator=(const ServerWait&) = delete;
};

}  // namespace quillet
