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
constexpr int mostAttempts = 20, completionAttempts = 10;
constexpr std::size_t mostArrivals = 64;
constexpr std::size_t mostApplications = 64;
constexpr unsigned int mostKept = 128;

/// The limit of an application's call may still be set, and be nearly nothing.
void allowFullTime() {
  constexpr int limit = static_cast<int>(CallBudget::limit.count());
  atspi_set_timeout(limit, limit);
}

/// libatspi keeps an object for every one that any event names until its application ends, since most toolkits never
/// tell of an object's end. Those without a known parent come again when they are needed; whoever has one keeps it.
void forgetLooseObjects(AtspiApplication* application) {
  const auto isLoose = [](gpointer, gpointer object, gpointer) -> gboolean {
    return static_cast<AtspiAccessible*>(object)->accessible_parent == nullptr;
  };
  if (application == nullptr || g_hash_table_size(application->hash) < mostKept) return;
  g_hash_table_foreach_remove(application->hash, isLoose, nullptr);
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

/// The keys still go to the text: web pages show the completion that would be taken next as having the focus.
bool isCompletion(const AtspiElementRef& element, const AtspiSummary& text, CallBudget& budget) {
  if (!element || !text.isEditable() || !text.offersCompletions()) return false;
  return summarize(element->accessible(), element->pid(), budget).isActiveItem();
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
    forgetLooseObjects(event->source->parent.app);
  }
  g_boxed_free(ATSPI_TYPE_EVENT, event);
}

AtspiElementRef AtspiFocusTracker::focused(std::int32_t pid, const std::function<unsigned long()>& window,
                                           CallBudget& budget, AtspiRole* role) {
  if (pid == ownPID_) return nullptr;
  takeArrivals(budget);
  auto& application = applications_[pid];
  if (hasFocus(application, budget, role)) return application.text;
  if (application.search) return nullptr;
  const auto active = window();
  if (!shouldSearch(application, active)) return nullptr;
  application.search = std::make_unique<AtspiFocusSearch>(pid);
  application.searches = application.searchedWindow == active ? application.searches + 1 : 1;
  application.searchedWindow = active;
  application.searchedAt = steady_clock::now();
  if (searchOn(application, budget) == Search::found && hasFocus(application, budget, role)) {
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

bool AtspiFocusTracker::hasFocus(const Application& application, CallBudget& budget, AtspiRole* role) {
  const auto& element = application.text;
  if (!element) return false;
  const auto look = role != nullptr ? summarize : statesOf;
  const auto summary = look(element->accessible(), element->pid(), budget);
  if (role != nullptr) *role = summary.role;
  return summary.has(ATSPI_STATE_FOCUSED) || isCompletion(application.latest, summary, budget);
}

std::optional<bool> AtspiFocusTracker::takesKeys(const AtspiElementRef& element, CallBudget& budget) {
  const auto states = statesOf(element->accessible(), element->pid(), budget);
  if (!states.answered()) return std::nullopt;
  if (states.has(ATSPI_STATE_FOCUSED)) return true;
  takeArrivals(budget);
  const auto& latest = applications_[element->pid()].latest;
  if (!latest || sameElement(latest, element)) return std::nullopt;
  return isCompletion(latest, states, budget);
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
  if (mayBecomeCompletion(arrival, summary, pid, budget)) return false;
  auto& application = applications_[pid];
  application.searches = 0;  // something has changed there
  AtspiElementRef element = std::make_shared<AtspiElement>(addRef(arrival.source.get()), pid);
  if (sameElement(element, application.text)) element = application.text;  // which knows what it answered before
  if (focused) application.latest = element;
  if (focused && textual) {
    application.text = element;
    application.search.reset();
  }
  tell(pid, textual || !focused ? element : nullptr);
  return true;
}

/// A page tells of the focus first, and a moment later what its item and its text are.
bool AtspiFocusTracker::mayBecomeCompletion(const Arrival& arrival, const AtspiSummary& item, std::int32_t pid,
                                            CallBudget& budget) {
  const bool early = arrival.attempts < completionAttempts && item.role == ATSPI_ROLE_LIST_ITEM;
  const auto& element = applications_[pid].text;
  if (!early || !element || !item.has(ATSPI_STATE_FOCUSED)) return false;
  const auto text = statesOf(element->accessible(), pid, budget);
  return text.has(ATSPI_STATE_SUPPORTS_AUTOCOMPLETION) && !(item.isActiveItem() && text.offersCompletions());
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
