// SPDX-License-Identifier: MIT
#include "QuilletKit/Identity/EnvelopeError.h"

#include <array>

namespace quillet {
namespace {

const char* nameOf(EnvelopeError::Code code) {
  constexpr std::array kNames{"badKey",       "badEncoding",        "wrongRecipient", "wrongSender",
                              "wrongPurpose", "unsupportedVersion", "badSignature"};
  return kNames[static_cast<std::size_t>(code)];
}

}  // namespace

EnvelopeError::EnvelopeError(Code errorCode) : std::runtime_error(nameOf(errorCode)), code(errorCode) {}

}  // namespace quillet
