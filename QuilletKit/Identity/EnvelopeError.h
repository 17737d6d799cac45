// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>

namespace quillet {

/// Why an envelope, or a key that it needs, is not to be trusted.
struct EnvelopeError : std::runtime_error {
  enum class Code { badKey, badEncoding, wrongRecipient, wrongSender, wrongPurpose, unsupportedVersion, badSignature };
  explicit EnvelopeError(Code code);
  Code code;
};

}  // namespace quillet
