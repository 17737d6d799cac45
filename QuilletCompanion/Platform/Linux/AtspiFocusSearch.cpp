// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/AtspiFocusSearch.h"

#include <deque>
#include <vector>

namespace quillet {
namespace {

/// Budget key of calls that the registry and the bus answer.
constexpr std::int32_t registry = -1;
constexpr int mostMatches = 32;
constexpr int mostChildren = 512;

bool isFocusedText(AtspiAccessible* accessible, std::int32_t pid, CallBudget& budget) {
  const auto summary = summarize(accessible, pid, budget);
  return summary.has(ATSPI_STATE_FOCUSED) && summary.isTextual();
}

std::vector<GRef<AtspiAccessible>> applications(std::int32_t pid, CallBudget& budget) {
  std::vector<GRef<AtspiAccessible>> found;
  const GRef<AtspiAccessible> desktop(atspi_get_desktop(0));
  if (!desktop || !budget.mayCall(registry)) return found;
  GErrorSlot countError;
  const int count = atspi_accessible_get_child_count(desktop.get(), countError);
  for (int i = 0; i < count && budget.mayCall(registry); ++i) {
    GErrorSlot error;
    GRef<AtspiAccessible> application(atspi_accessible_get_child_at_index(desktop.get(), i, error));
    if (application && processOf(application.get()) == pid) found.push_back(std::move(application));
  }
  return found;
}

GRef<AtspiMatchRule> focusedRule() {
  const GRef<AtspiStateSet> focused(atspi_state_set_new(nullptr));
  atspi_state_set_add(focused.get(), ATSPI_STATE_FOCUSED);
  return GRef<AtspiMatchRule>(atspi_match_rule_new(focused.get(), ATSPI_Collection_MATCH_ALL, nullptr,
                                                   ATSPI_Collection_MATCH_NONE, nullptr, ATSPI_Collection_MATCH_NONE,
                                                   nullptr, ATSPI_Collection_MATCH_NONE, FALSE));
}

/// Asks the toolkit to search by itself, which only some can.
GRef<AtspiAccessible> queryFocused(AtspiAccessible* application, std::int32_t pid, CallBudget& budget) {
  if (!budget.mayCall(pid)) return nullptr;
  const auto rule = focusedRule();
  GErrorSlot error;
  GArray* matches = atspi_collection_get_matches(ATSPI_COLLECTION(application), rule.get(),
                                                 ATSPI_Collection_SORT_ORDER_CANONICAL, mostMatches, TRUE, error);
  if (matches == nullptr) return nullptr;
  std::vector<GRef<AtspiAccessible>> owned;
  for (guint i = 0; i < matches->len; ++i) owned.emplace_back(g_array_index(matches, AtspiAccessible*, i));
  g_array_free(matches, TRUE);
  for (auto& match : owned) {
    if (match && isFocusedText(match.get(), pid, budget)) return std::move(match);
  }
  return nullptr;
}

void appendChildren(AtspiAccessible* parent, std::int32_t pid, CallBudget& budget,
                    std::deque<GRef<AtspiAccessible>>& queue) {
  if (!budget.mayCall(pid)) return;
  GErrorSlot countError;
  const int count = std::min(atspi_accessible_get_child_count(parent, countError), mostChildren);
  for (int i = 0; i < count && budget.mayCall(pid); ++i) {
    GErrorSlot error;
    GRef<AtspiAccessible> child(atspi_accessible_get_child_at_index(parent, i, error));
    if (child) queue.push_back(std::move(child));
  }
}

bool mayHoldFocus(const AtspiSummary& summary) {
  // GTK 4 calls nothing inside a window "showing".
  return summary.has(ATSPI_STATE_VISIBLE) && !summary.has(ATSPI_STATE_MANAGES_DESCENDANTS);
}

GRef<AtspiAccessible> walk(AtspiAccessible* application, std::int32_t pid, CallBudget& budget) {
  std::deque<GRef<AtspiAccessible>> queue;
  appendChildren(application, pid, budget, queue);
  while (!queue.empty()) {
    auto next = std::move(queue.front());
    queue.pop_front();
    const auto summary = summarize(next.get(), pid, budget);
    if (summary.has(ATSPI_STATE_FOCUSED) && summary.isTextual()) return next;
    if (mayHoldFocus(summary)) appendChildren(next.get(), pid, budget, queue);
  }
  return nullptr;
}

}  // namespace

std::int32_t processOf(AtspiAccessible* accessible) {
  GErrorSlot error;
  const auto pid = static_cast<std::int32_t>(atspi_accessible_get_process_id(accessible, error));
  return error.failed() || pid < 0 ? 0 : pid;
}

AtspiElementRef searchFocusedText(std::int32_t pid, CallBudget& budget) {
  for (const auto& application : applications(pid, budget)) {
    auto found = queryFocused(application.get(), pid, budget);
    if (!found) found = walk(application.get(), pid, budget);
    if (found) return std::make_shared<AtspiElement>(std::move(found), pid);
  }
  return nullptr;
}

}  // namespace quillet
