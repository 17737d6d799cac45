// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace quillet {

/// What the service counts: numbers only, nothing about anyone. One thread.
class Metrics {
 public:
  // Since the start.
  std::uint64_t connectionsAccepted = 0, connectionsRefused = 0;
  std::uint64_t framesIn = 0, framesOut = 0, slowReadersDropped = 0;
  std::uint64_t deliveriesSubmitted = 0, resultsReturned = 0, deliveriesExpired = 0, preparesSent = 0;

  std::uint64_t streamsOpened = 0, uploadsTaken = 0;
  std::chrono::milliseconds soundTranscribed{0};
  std::map<std::string, std::uint64_t, std::less<>> transcriptionFailures;  ///< By code.

  /// One answered request; `code` is the refusal's, empty for none. Codes are constants of this program.
  void countRequest(int status, std::string_view code);

  /// What holds at this moment.
  struct Gauges {
    std::size_t connections = 0, desktopsOnline = 0, callsWaiting = 0, noncesRemembered = 0;
    std::size_t streamsOpen = 0, uploadsUnderWay = 0, uploadsWaiting = 0;
    std::int64_t devices = 0, pairs = 0, deliveriesPending = 0;
  };
  /// In the text format that Prometheus reads.
  std::string text(const Gauges& gauges) const;

 private:
  std::map<int, std::uint64_t> requests_;
  std::map<std::string, std::uint64_t, std::less<>> refusals_;
};

}  // namespace quillet
