// SPDX-License-Identifier: MIT
#include "Fuzz/FuzzInput.h"
#include "QuilletKit/Protocol/APIResponse.h"
#include "QuilletKit/Protocol/ServiceModels.h"
#include "QuilletKit/Protocol/WireModels.h"

namespace {

template <typename Response>
void decodeAs(int status, std::string_view body) {
  try {
    quillet::decodeResponse<Response>(status, body);
  } catch (const quillet::APIError&) {
  }
}

}  // namespace

/// The first two bytes are the status, the rest is the body.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillet;
  if (size < 2) return 0;
  const int status = data[0] % 2 == 0 ? 200 : data[0] << 8 | data[1];
  const std::string_view body = fuzz::textOf(data + 2, size - 2);
  decodeAs<ServiceConfig>(status, body);
  decodeAs<PairsResponse>(status, body);
  decodeAs<PairingStatus>(status, body);
  decodeAs<TranscribeResponse>(status, body);
  decodeAs<DeliveryStatus>(status, body);
  decodeAs<PresenceResponse>(status, body);
  return 0;
}
