// SPDX-License-Identifier: MIT
#include "Fuzz/FuzzInput.h"
#include "QuilletKit/Protocol/WireModels.h"

namespace {

using namespace quillet;

void open(const Envelope& envelope, const DeviceIdentity& recipient, const PeerIdentity& sender) {
  try {
    envelope.open<DeliveryPayload>(envelope.purpose, recipient, sender);
  } catch (const EnvelopeError&) {
  } catch (const Crypto::KeyError&) {
  } catch (const Crypto::BoxSizeError&) {
  } catch (const Crypto::AuthenticationError&) {
  } catch (const JSONCoding::DecodingError&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const DeviceIdentity recipient = fuzz::identityOf(1);
  static const PeerIdentity sender = fuzz::identityOf(2).peerIdentity("", DevicePlatform::ios);
  auto envelope = fuzz::decoded<Envelope>(fuzz::textOf(data, size));
  if (!envelope) return 0;
  open(*envelope, recipient, sender);
  // Beyond the routing checks, which random input seldom passes.
  envelope->v = 1;
  envelope->to = recipient.deviceId();
  envelope->from = sender.deviceId;
  open(*envelope, recipient, sender);
  return 0;
}
