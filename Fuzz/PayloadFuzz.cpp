// SPDX-License-Identifier: MIT
#include "Fuzz/FuzzInput.h"
#include "QuilletKit/Protocol/WireModels.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillet;
  const std::string_view json = fuzz::textOf(data, size);
  fuzz::checkRoundTrip<PrepareRequestPayload>(json);
  fuzz::checkRoundTrip<PrepareResultPayload>(json);
  fuzz::checkRoundTrip<DeliveryPayload>(json);
  fuzz::checkRoundTrip<ResultPayload>(json);
  fuzz::checkRoundTrip<ReadinessPayload>(json);
  fuzz::checkRoundTrip<PeerIdentity>(json);
  if (const auto peer = fuzz::decoded<PeerIdentity>(json)) peer->isConsistent();
  return 0;
}
