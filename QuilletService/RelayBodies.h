// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuilletKit/Protocol/WireModels.h"

/// What carries envelopes through the service. The service reads an envelope's routing fields and passes its text on
/// byte for byte, whatever else stands in it.
namespace quillet {

struct PassedEnvelope {
  PassedEnvelope() = default;
  PassedEnvelope(const Envelope& sealed);
  PassedEnvelope(Envelope sealed, std::string_view asItCame) : envelope(std::move(sealed)), text(asItCame) {}

  Envelope envelope;
  std::string text;
};

// What comes in. All throw JSONCoding::DecodingError.

struct PassedPrepare {
  static PassedPrepare parse(std::string_view body);
  std::string requestId;
  PassedEnvelope envelope;
};
struct PassedDelivery {
  static PassedDelivery parse(std::string_view body);
  std::string utteranceId;
  PassedEnvelope envelope;
};
/// A desktop's frame, and the text of its envelope, or of those of a presence in order.
struct DesktopFrame {
  static DesktopFrame parse(std::string_view frame);
  RelayClientMessage message;
  std::vector<std::string> envelopes;
};

// What goes out; envelopes are texts.

struct PassedStatus {
  std::string json() const;
  std::string utteranceId;
  DeliveryTransportState state = DeliveryTransportState::unknown;
  bool macOnline = false;
  std::optional<std::string> resultEnvelope;
};
struct PassedPresence {
  struct Mac {
    struct Readiness {
      std::string envelope;
      std::int64_t at = 0;
    };
    std::string macId;
    bool online = false;
    std::optional<std::int64_t> lastSeenAt;
    std::optional<Readiness> readiness;
  };
  std::string json() const;
  std::vector<Mac> macs;
};
namespace RelayText {
/// The answer to a prepare.
std::string envelopeResponse(std::string_view envelope);
/// Frames to a desktop.
std::string prepare(std::string_view requestId, std::string_view from, std::string_view envelope);
std::string deliver(std::string_view utteranceId, std::string_view from, std::string_view envelope);
}  // namespace RelayText

}  // namespace quillet
