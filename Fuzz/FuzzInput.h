// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "QuilletKit/Base/Log.h"
#include "QuilletKit/Identity/DeviceIdentity.h"
#include "QuilletKit/JSON/JSONCoding.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace quillet::fuzz {

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// The same keys in every run.
inline DeviceIdentity identityOf(std::uint8_t fill) {
  DeviceIdentity identity;
  Crypto::Key key;
  key.fill(fill);
  identity.signingKey = key;
  identity.agreementKey = key;
  return identity;
}

/// Keeps the log out of the run. Use: static const bool quiet = fuzz::silenceLog();
inline bool silenceLog() {
  Log::setSink([](const Log::Line&) {});
  return true;
}

/// Stops the run, and so keeps the input as a finding.
inline void require(bool holds) {
  if (!holds) std::abort();
}

/// Absent for a refusal; any exception but the documented one ends the run.
template <typename T>
std::optional<T> decoded(std::string_view json) {
  try {
    return JSONCoding::decode<T>(json);
  } catch (const JSONCoding::DecodingError&) {
    return std::nullopt;
  }
}

/// What decodes must also encode, and decode from that to the same.
template <typename T>
void checkRoundTrip(std::string_view json) {
  const auto value = decoded<T>(json);
  if (!value) return;
  const std::string written = JSONCoding::encode(*value);
  const auto again = decoded<T>(written);
  require(again.has_value() && JSONCoding::encode(*again) == written);
}

}  // namespace quillet::fuzz
