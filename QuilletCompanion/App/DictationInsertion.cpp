// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/DictationInsertion.h"

#include <utility>

#include "QuilletCompanion/Dictation/TextJoining.h"

namespace quillet {
namespace {

constexpr const char* kPeerId = "local-dictation";

std::string joinedAt(const TargetSnapshot& snapshot, AccessibilityProvider& provider, std::string text) {
  const auto* element = std::get_if<ElementRef>(&snapshot.kind);
  if (element == nullptr) return text;
  return TextJoining::joined(text, TextJoining::textBeforeCaret(provider.readField(*element)));
}

/// Spends a token when it goes away.
class SpentToken {
 public:
  SpentToken(TargetGuard& guard, std::string token) : guard_(guard), token_(std::move(token)) {}
  ~SpentToken() { guard_.consume(token_); }
  SpentToken(const SpentToken&) = delete;
  SpentToken& operator=(const SpentToken&) = delete;

 private:
  TargetGuard& guard_;
  std::string token_;
};

}  // namespace

Awaitable<DictationInsertion> insertDictation(std::shared_ptr<Services> services, AccessibilityProvider& provider,
                                              std::string text) {
  auto turn = co_await services->inserter.turn();
  const PrepareDecision decision = services->targetGuard.prepare(kPeerId);
  if (const auto* refused = std::get_if<TargetRefusal>(&decision)) co_return DictationNotInserted{refused->reason};
  const auto& snapshot = std::get<TargetSnapshot>(decision);
  const SpentToken spent(services->targetGuard, snapshot.token);
  std::string joined = joinedAt(snapshot, provider, std::move(text));
  const InsertionReport report = co_await services->inserter.insert(std::move(turn), std::move(joined), snapshot);
  if (report.outcome != InsertionOutcome::refused) co_return DictationInserted{};
  co_return DictationNotInserted{report.reason.value_or(RefusalReason::unsupportedTarget)};
}

}  // namespace quillet
