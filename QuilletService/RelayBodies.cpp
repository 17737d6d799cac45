// SPDX-License-Identifier: MIT
#include "QuilletService/RelayBodies.h"

#include "QuilletKit/Base/RawValue.h"
#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/JSON/JSONSlice.h"
#include "QuilletKit/JSON/JSONWriter.h"

namespace quillet {
namespace {

constexpr std::size_t kUsualSize = 512;  // beside the envelope

template <typename Write>
std::string object(std::size_t envelopes, Write write) {
  std::string text;
  text.reserve(kUsualSize + envelopes);
  JSONWriter writer(text);
  writer.beginObject();
  write(writer);
  writer.endObject();
  return text;
}

void write(JSONWriter& writer, const PassedPresence::Mac& mac) {
  writer.beginObject();
  if (mac.lastSeenAt) {
    writer.key("lastSeenAt");
    writer.integer(*mac.lastSeenAt);
  }
  writer.key("macId");
  writer.string(mac.macId);
  writer.key("online");
  writer.boolean(mac.online);
  if (mac.readiness) {
    writer.key("readiness");
    writer.beginObject();
    writer.key("at");
    writer.integer(mac.readiness->at);
    writer.key("envelope");
    writer.raw(mac.readiness->envelope);
    writer.endObject();
  }
  writer.endObject();
}

}  // namespace

PassedEnvelope::PassedEnvelope(const Envelope& sealed) : envelope(sealed), text(JSONCoding::encode(sealed)) {}

PassedPrepare PassedPrepare::parse(std::string_view body) {
  auto request = JSONCoding::decode<PrepareRelayRequest>(body);
  return {std::move(request.requestId), {std::move(request.envelope), JSONSlice::member(body, "envelope")}};
}

PassedDelivery PassedDelivery::parse(std::string_view body) {
  auto request = JSONCoding::decode<DeliveryRequest>(body);
  return {std::move(request.utteranceId), {std::move(request.envelope), JSONSlice::member(body, "envelope")}};
}

DesktopFrame DesktopFrame::parse(std::string_view frame) {
  DesktopFrame parsed{JSONCoding::decode<RelayClientMessage>(frame), {}};
  if (std::holds_alternative<RelayClient::Presence>(parsed.message)) {
    for (const std::string_view update : JSONSlice::elements(JSONSlice::member(frame, "updates"))) {
      parsed.envelopes.emplace_back(JSONSlice::member(update, "envelope"));
    }
  } else {
    parsed.envelopes.emplace_back(JSONSlice::member(frame, "envelope"));
  }
  return parsed;
}

std::string PassedStatus::json() const {
  return object(resultEnvelope ? resultEnvelope->size() : 0, [&](JSONWriter& writer) {
    writer.key("macOnline");
    writer.boolean(macOnline);
    if (resultEnvelope) {
      writer.key("resultEnvelope");
      writer.raw(*resultEnvelope);
    }
    writer.key("state");
    writer.string(rawValue(state));
    writer.key("utteranceId");
    writer.string(utteranceId);
  });
}

std::string PassedPresence::json() const {
  return object(macs.size() * kUsualSize, [&](JSONWriter& writer) {
    writer.key("macs");
    writer.beginArray();
    for (const Mac& mac : macs) write(writer, mac);
    writer.endArray();
  });
}

std::string RelayText::envelopeResponse(std::string_view envelope) {
  return object(envelope.size(), [&](JSONWriter& writer) {
    writer.key("envelope");
    writer.raw(envelope);
  });
}

std::string RelayText::prepare(std::string_view requestId, std::string_view from, std::string_view envelope) {
  return object(envelope.size(), [&](JSONWriter& writer) {
    writer.key("envelope");
    writer.raw(envelope);
    writer.key("from");
    writer.string(from);
    writer.key("requestId");
    writer.string(requestId);
    writer.key("type");
    writer.string("prepare");
  });
}

std::string RelayText::deliver(std::string_view utteranceId, std::string_view from, std::string_view envelope) {
  return object(envelope.size(), [&](JSONWriter& writer) {
    writer.key("envelope");
    writer.raw(envelope);
    writer.key("from");
    writer.string(from);
    writer.key("type");
    writer.string("deliver");
    writer.key("utteranceId");
    writer.string(utteranceId);
  });
}

}  // namespace quillet
