// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiFocusTracker.h"

#include <signal.h>

#include <cerrno>
#include <utility>

namespace quillet {
namespace {

using std::chrono::steady_clock;

constexpr auto focusEvent = "object:state-changed:focused";
/// Programs may not tell of the focus that they begin with, and are looked at again for a while.
constexpr auto searchAgainAfter = std::chrono::seconds(2);
constexpr int mostSearches = 5;
/// How long a search may hold the main thread, and how long it then leaves it alone.
constexpr std::chrono::milliseconds searchSlice{10}, searchPause{5};
constexpr std::chrono::milliseconds retryDelay{100};
constexpr int mostAttempts = 20;
constexpr std::size_t mostArrivals = 64;
constexpr std::size_t mostApplications = 64;

/// The limit of an application's call may still be set, and be nearly nothing.
void allowFullTime() {
  constexpr int limit = static_cast<int>(CallBudget::limit.count());
  atspi_set_timeout(limit, limit);
}

/// Containers, cells and suggestions, of which toolkits tell while the focus stays where it is.
bool mayClaimFalsely(AtspiRole role) {
  switch (role) {
    case ATSPI_ROLE_DOCUMENT_FRAME:
    case ATSPI_ROLE_DOCUMENT_WEB:
    case ATSPI_ROLE_FILLER:
    case ATSPI_ROLE_FRAME:
    case ATSPI_ROLE_LIST_ITEM:
    case ATSPI_ROLE_PAGE_TAB:
    case ATSPI_ROLE_PANEL:
    case ATSPI_ROLE_ROOT_PANE:
    case ATSPI_ROLE_TABLE_CELL:
    case ATSPI_ROLE_WINDOW:
      return true;
    default:
      return false;
  }
}

}  // namespace

AtspiFocusTracker::AtspiFocusTracker(std::int32_t ownPID, HungApplications& hung) : ownPID_(ownPID), hung_(hung) {
  for (QTimer* timer : {&soon_, &retry_}) {
    timer->setSingleShot(true);
    QObject::connect(timer, &QTimer::timeout, timer, [this] { deliver(); });
  }
  retry_.setInterval(retryDelay);
  searching_.setSingleShot(true);
  searching_.setInterval(searchPause);
  QObject::connect(&searching_, &QTimer::timeout, &searching_, [this] { continueSearches(); });
}

AtspiFocusTracker::~AtspiFocusTracker() {
  stop();
}

void AtspiFocusTracker::stop() {
  if (!listener_) return;
  allowFullTime();
  GErrorSlot error;
  atspi_event_listener_deregister(listener_.get(), focusEvent, error);
  listener_.reset();
}

void AtspiFocusTracker::restart() {
  if (!listener_) return;
  stop();
  start();
}

void AtspiFocusTracker::start() {
  if (listener_) return;
  listener_.reset(atspi_event_listener_new(&AtspiFocusTracker::handle, this, nullptr));
  allowFullTime();
  GErrorSlot error;
  // It says yes also when the registry didn't answer.
  if (!atspi_event_listener_register(listener_.get(), focusEvent, error) || error.failed()) stop();
}

void AtspiFocusTracker::handle(AtspiEvent* event, void* self) {
  auto& tracker = *static_cast<AtspiFocusTracker*>(self);
  // libatspi delivers events also while one of our own calls waits, so nothing is asked here.
  if (event->detail1 == 1 && event->source != nullptr) {
    if (tracker.arrivals_.size() == mostArrivals) tracker.arrivals_.pop_front();
    tracker.arrivals_.push_back({.source = addRef(event->source)});
    tracker.soon_.start();
  }
  g_boxed_free(ATSPI_TYPE_EVENT, event);
}

AtspiElementRef AtspiFocusTracker::focused(std::int32_t pid, const std::function<unsigned long()>& window,
                                           CallBudget& budget, AtspiRole* role) {
  if (pid == ownPID_) return nullptr;
  takeArrivals(budget);
  auto& application = applications_[pid];
  if (hasFocus(application.text, budget, role)) return application.text;
  if (application.search) return nullptr;
  const auto active = window();
  if (!shouldSearch(application, active)) return nullptr;
  application.search = std::make_unique<AtspiFocusSearch>(pid);
  application.searches = application.searchedWindow == active ? application.searches + 1 : 1;
  application.searchedWindow = active;
  application.searchedAt = steady_clock::now();
  if (searchOn(application, budget) == Search::found && hasFocus(application.text, budget, role)) {
    return application.text;
  }
  if (application.search) searching_.start();
  return nullptr;
}

AtspiFocusTracker::Search AtspiFocusTracker::searchOn(Application& application, CallBudget& budget) {
  if (application.search->advance(budget, steady_clock::now() + searchSlice)) return Search::running;
  auto found = application.search->found();
  application.search.reset();
  if (!found) return Search::failed;
  application.text = std::move(found);
  return Search::found;
}

void AtspiFocusTracker::continueSearches() {
  for (auto& [pid, application] : applications_) {
    if (!application.search) continue;
    CallBudget budget(hung_);
    const auto search = searchOn(application, budget);
    if (search == Search::found) tell(pid, application.text);
    if (search == Search::running) searching_.start();
  }
}

bool AtspiFocusTracker::hasFocus(const AtspiElementRef& element, CallBudget& budget, AtspiRole* role) {
  if (!element) return false;
  const auto look = role != nullptr ? summarize : statesOf;
  const auto summary = look(element->accessible(), element->pid(), budget);
  if (role != nullptr) *role = summary.role;
  return summary.has(ATSPI_STATE_FOCUSED);
}

bool AtspiFocusTracker::shouldSearch(const Application& application, unsigned long window) const {
  if (application.searchedWindow != window) return true;
  if (application.text || application.searches >= mostSearches) return false;
  return steady_clock::now() - application.searchedAt >= searchAgainAfter * (1 << application.searches) / 2;
}

void AtspiFocusTracker::takeArrivals(CallBudget& budget) {
  if (std::exchange(taking_, true)) return;
  std::deque<Arrival> unanswered;
  while (!arrivals_.empty()) {
    auto arrival = std::move(arrivals_.front());
    arrivals_.pop_front();
    if (!take(arrival, budget) && ++arrival.attempts < mostAttempts) unanswered.push_back(std::move(arrival));
  }
  arrivals_ = std::move(unanswered);
  if (!arrivals_.empty() && !retry_.isActive()) retry_.start();
  taking_ = false;
}

bool AtspiFocusTracker::take(const Arrival& arrival, CallBudget& budget) {
  const auto pid = pidOf(arrival.source.get());
  if (pid == 0 || pid == ownPID_) return true;
  if (arrival.attempts == 0) hung_.remove(pid);
  const auto summary = summarize(arrival.source.get(), pid, budget);
  if (!summary.answered() || summary.role == ATSPI_ROLE_INVALID) return false;
  const bool focused = summary.has(ATSPI_STATE_FOCUSED);  // or it lost the focus meanwhile
  const bool textual = summary.isTextual();
  if (!focused && !textual && mayClaimFalsely(summary.role)) return true;
  forgetGone();
  applications_[pid].searches = 0;  // something has changed there
  AtspiElementRef element;
  if (textual || !focused) element = std::make_shared<AtspiElement>(addRef(arrival.source.get()), pid);
  if (focused && textual) {
    applications_[pid].text = element;
    applications_[pid].search.reset();
  }
  tell(pid, element);
  return true;
}

// Not from here: the caller may be in the middle of an operation.
void AtspiFocusTracker::tell(std::int32_t pid, const AtspiElementRef& element) {
  untold_.emplace_back(pid, element);
  QMetaObject::invokeMethod(
      &soon_, [this] { deliver(); }, Qt::QueuedConnection);
}

void AtspiFocusTracker::deliver() {
  CallBudget budget(hung_);
  takeArrivals(budget);
  for (const auto& [pid, element] : std::exchange(untold_, {})) {
    if (onFocusEvent) onFocusEvent(pid, element);
  }
}

std::int32_t AtspiFocusTracker::pidOf(AtspiAccessible* source) {
  const auto* application = source->parent.app;
  if (application == nullptr || application->bus_name == nullptr) return 0;
  const auto known = pids_.find(application->bus_name);
  if (known != pids_.end()) return known->second;
  const auto pid = processOf(source);
  if (pids_.size() >= mostApplications) pids_.clear();
  if (pid != 0) pids_.emplace(application->bus_name, pid);
  return pid;
}

void AtspiFocusTracker::forgetGone() {
  if (applications_.size() < mostApplications) return;
  std::erase_if(applications_, [](const auto& entry) { return kill(entry.first, 0) != 0 && errno == ESRCH; });
}

}  // namespace quillet
