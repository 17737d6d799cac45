// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "QuilletKit/Protocol/WireModels.h"

namespace quillet {

enum class JournalState { attempting, inserted, refused, uncertain };
std::string_view rawValue(JournalState value);

/// What became of one utterance. Holds no text.
struct JournalEntry {
  std::string peerId, utteranceId;
  JournalState state = JournalState::attempting;
  std::optional<RefusalReason> reason;
  std::optional<InsertionMethod> method;
  std::optional<std::string> appName;
  std::int64_t createdAt = 0;  ///< Milliseconds since 1970, as `updatedAt`.
  std::int64_t updatedAt = 0;
  std::optional<ResultPayload> result;
  bool operator==(const JournalEntry&) const = default;

  static std::string key(const std::string& peerId, const std::string& utteranceId) {
    return peerId + "|" + utteranceId;
  }
  std::string key() const { return key(peerId, utteranceId); }
};

}  // namespace quillet
