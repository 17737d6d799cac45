// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>

#include "QuilletCompanion/Target/TextInserter.h"

namespace quillet {

inline void PrintTo(const InsertionReport& report, std::ostream* out) {
  *out << rawValue(report.outcome) << "/" << (report.reason ? rawValue(*report.reason) : "-") << "/"
       << (report.method ? rawValue(*report.method) : "-");
}

namespace test {

inline constexpr InsertionReport kWritten{InsertionOutcome::inserted, std::nullopt, InsertionMethod::accessibility};
inline constexpr InsertionReport kMaybeWritten{InsertionOutcome::uncertain, std::nullopt,
                                               InsertionMethod::accessibility};
inline constexpr InsertionReport kTyped{InsertionOutcome::inserted, std::nullopt, InsertionMethod::typing};
inline constexpr InsertionReport kMaybeTyped{InsertionOutcome::uncertain, std::nullopt, InsertionMethod::typing};

/// An insertion of its own, with its turn.
inline Awaitable<InsertionReport> inTurn(TextInserter& inserter, std::string text, TargetSnapshot snapshot) {
  auto turn = co_await inserter.turn();
  co_return co_await inserter.insert(std::move(turn), std::move(text), std::move(snapshot));
}

}  // namespace test
}  // namespace quillet
