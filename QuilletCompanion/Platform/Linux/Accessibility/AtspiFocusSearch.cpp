// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiFocusSearch.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace quillet {
namespace {

/// Budget key of calls that the registry and the bus answer.
constexpr std::int32_t registry = -1;
constexpr int mostMatches = 32;
constexpr int mostChildren = 512;
/// An office program has 2,000 elements, which take half a second.
constexpr int mostLooks = 3000;
constexpr std::chrono::milliseconds longest{1500};

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

std::vector<GRef<AtspiAccessible>> matchesOf(AtspiAccessible* application) {
  const auto rule = focusedRule();
  std::vector<GRef<AtspiAccessible>> owned;
  GErrorSlot error;
  GArray* matches = atspi_collection_get_matches(ATSPI_COLLECTION(application), rule.get(),
                                                 ATSPI_Collection_SORT_ORDER_CANONICAL, mostMatches, TRUE, error);
  if (matches == nullptr) return owned;
  for (guint i = 0; i < matches->len; ++i) owned.emplace_back(g_array_index(matches, AtspiAccessible*, i));
  g_array_free(matches, TRUE);
  return owned;
}

bool mayHoldFocus(const AtspiSummary& summary) {
  // GTK 4 calls nothing inside a window "showing".
  return summary.has(ATSPI_STATE_VISIBLE) && !summary.has(ATSPI_STATE_MANAGES_DESCENDANTS);
}

}  // namespace

std::int32_t processOf(AtspiAccessible* accessible) {
  GErrorSlot error;
  const auto pid = static_cast<std::int32_t>(atspi_accessible_get_process_id(accessible, error));
  return error.failed() || pid < 0 ? 0 : pid;
}

bool AtspiFocusSearch::advance(CallBudget& budget, MonotonicTime until) {
  const auto begin = std::chrono::steady_clock::now();
  if (!std::exchange(begun_, true)) applications_ = applications(pid_, budget);
  while (!found_ && std::chrono::steady_clock::now() < until) {
    if (!queue_.empty()) {
      lookAtNext(budget);
    } else if (!applications_.empty()) {
      const auto application = std::move(applications_.back());
      applications_.pop_back();
      query(application.get(), budget);
      if (!found_) appendChildren(application.get(), budget);
    } else {
      break;
    }
  }
  spent_ += std::chrono::steady_clock::now() - begin;
  const bool exhausted = looks_ >= mostLooks || spent_ >= longest;
  return !found_ && !exhausted && !(queue_.empty() && applications_.empty());
}

/// Asks a browser to search by itself, since pages are large. Other programs look at every cell of a table, of which a
/// spreadsheet has a billion, and hang.
void AtspiFocusSearch::query(AtspiAccessible* application, CallBudget& budget) {
  const AtspiElement self(addRef(application), pid_);
  if (!isWeb(toolkitOf(self, budget)) || !budget.mayCall(pid_)) return;
  for (auto& match : matchesOf(application)) {
    if (match && isFocusedText(match.get(), pid_, budget)) return take(std::move(match));
  }
}

void AtspiFocusSearch::lookAtNext(CallBudget& budget) {
  auto next = std::move(queue_.front());
  queue_.pop_front();
  ++looks_;
  const auto summary = summarize(next.get(), pid_, budget);
  if (summary.has(ATSPI_STATE_FOCUSED) && summary.isTextual()) return take(std::move(next));
  if (mayHoldFocus(summary)) appendChildren(next.get(), budget);
}

void AtspiFocusSearch::appendChildren(AtspiAccessible* parent, CallBudget& budget) {
  if (!budget.mayCall(pid_)) return;
  GErrorSlot countError;
  const int count = std::min(atspi_accessible_get_child_count(parent, countError), mostChildren);
  for (int i = 0; i < count && budget.mayCall(pid_); ++i) {
    GErrorSlot error;
    GRef<AtspiAccessible> child(atspi_accessible_get_child_at_index(parent, i, error));
    if (child) queue_.push_back(std::move(child));
  }
}

void AtspiFocusSearch::take(GRef<AtspiAccessible> accessible) {
  found_ = std::make_shared<AtspiElement>(std::move(accessible), pid_);
}

}  // namespace quillet
