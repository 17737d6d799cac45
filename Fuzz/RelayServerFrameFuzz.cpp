// SPDX-License-Identifier: MIT
#include "Fuzz/FuzzInput.h"
#include "QuilletKit/Protocol/WireModels.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quillet::fuzz::checkRoundTrip<quillet::RelayServerMessage>(quillet::fuzz::textOf(data, size));
  return 0;
}
