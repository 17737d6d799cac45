// SPDX-License-Identifier: MIT
#include "Fuzz/FuzzInput.h"
#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Protocol/PairingCrypto.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillet;
  const std::string_view text = fuzz::textOf(data, size);
  if (const auto invitation = PairingInvitation::parse(text)) fuzz::require(!invitation->sessionId.empty());

  const std::string code = PairingCode::normalise(text);
  fuzz::require(code.find_first_of("OIL- ") == code.npos);
  PairingCode::display(text);

  if (const auto bytes = Base64URL::decode(text)) {
    fuzz::require(Base64URL::decode(Base64URL::encode(*bytes)) == bytes);
  }
  return 0;
}
