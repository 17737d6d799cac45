// SPDX-License-Identifier: MIT
#include "QuilletService/Metrics.h"

#include <fmt/core.h>

#include <iterator>

namespace quillet {
namespace {

template <typename Number>
void one(std::string& out, std::string_view kind, std::string_view name, Number value) {
  fmt::format_to(std::back_inserter(out), "# TYPE quillet_{0} {1}\nquillet_{0} {2}\n", name, kind, value);
}

template <typename Values>
void labelled(std::string& out, std::string_view name, std::string_view label, const Values& values) {
  fmt::format_to(std::back_inserter(out), "# TYPE quillet_{} counter\n", name);
  for (const auto& [key, value] : values) {
    fmt::format_to(std::back_inserter(out), "quillet_{}{{{}=\"{}\"}} {}\n", name, label, key, value);
  }
}

}  // namespace

void Metrics::countRequest(int status, std::string_view code) {
  ++requests_[status];
  if (code.empty()) return;
  const auto known = refusals_.find(code);
  if (known == refusals_.end()) {
    refusals_.emplace(code, 1);
  } else {
    ++known->second;
  }
}

std::string Metrics::text(const Gauges& gauges) const {
  std::string out;
  one(out, "gauge", "connections", gauges.connections);
  one(out, "gauge", "desktops_online", gauges.desktopsOnline);
  one(out, "gauge", "calls_waiting", gauges.callsWaiting);
  one(out, "gauge", "nonces_remembered", gauges.noncesRemembered);
  one(out, "gauge", "devices", gauges.devices);
  one(out, "gauge", "pairs", gauges.pairs);
  one(out, "gauge", "deliveries_pending", gauges.deliveriesPending);
  one(out, "gauge", "transcription_streams", gauges.streamsOpen);
  one(out, "gauge", "transcription_uploads", gauges.uploadsUnderWay);
  one(out, "gauge", "transcription_queue", gauges.uploadsWaiting);
  one(out, "counter", "transcription_streams_total", streamsOpened);
  one(out, "counter", "transcription_uploads_total", uploadsTaken);
  one(out, "counter", "transcription_seconds_total", std::chrono::duration<double>(soundTranscribed).count());
  labelled(out, "transcription_failures_total", "code", transcriptionFailures);
  one(out, "counter", "connections_accepted_total", connectionsAccepted);
  one(out, "counter", "connections_refused_total", connectionsRefused);
  one(out, "counter", "relay_frames_received_total", framesIn);
  one(out, "counter", "relay_frames_sent_total", framesOut);
  one(out, "counter", "relay_slow_readers_dropped_total", slowReadersDropped);
  one(out, "counter", "deliveries_submitted_total", deliveriesSubmitted);
  one(out, "counter", "deliveries_expired_total", deliveriesExpired);
  one(out, "counter", "results_returned_total", resultsReturned);
  one(out, "counter", "prepares_sent_total", preparesSent);
  labelled(out, "requests_total", "status", requests_);
  labelled(out, "refusals_total", "code", refusals_);
  return out;
}

}  // namespace quillet
