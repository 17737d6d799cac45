// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "QuilletCompanion/Dictation/DictationFailure.h"
#include "QuilletKit/Protocol/WireModels.h"

namespace quillet {

/// How a dictation was begun.
enum class DictationTrigger { toggle, hold };

namespace DictationPhases {

/// Nothing happens, nothing is shown.
struct Idle {
  bool operator==(const Idle&) const = default;
};
/// The recogniser is being started.
struct Starting {
  bool operator==(const Starting&) const = default;
};
struct Listening {
  std::int64_t since = 0;  ///< When the recogniser became ready, in milliseconds since 1970.
  bool operator==(const Listening&) const = default;
};
/// The recording has ended; its text is awaited, or being inserted.
struct Transcribing {
  bool operator==(const Transcribing&) const = default;
};
struct Inserted {
  bool operator==(const Inserted&) const = default;
};
/// The insertion was refused; the text is kept to be copied.
struct NotInserted {
  std::string text;
  RefusalReason reason = RefusalReason::noField;
  bool operator==(const NotInserted&) const = default;
};
struct Failed {
  DictationFailure failure = DictationFailure::recognitionFailed;
  bool operator==(const Failed&) const = default;
};

}  // namespace DictationPhases

using DictationPhase = std::variant<DictationPhases::Idle, DictationPhases::Starting, DictationPhases::Listening,
                                    DictationPhases::Transcribing, DictationPhases::Inserted,
                                    DictationPhases::NotInserted, DictationPhases::Failed>;

template <typename P>
bool is(const DictationPhase& phase) {
  return std::holds_alternative<P>(phase);
}

/// A dictation that the user can still stop or cancel: starting, listening or transcribing.
inline bool isInProgress(const DictationPhase& phase) {
  using namespace DictationPhases;
  return is<Starting>(phase) || is<Listening>(phase) || is<Transcribing>(phase);
}

}  // namespace quillet
