// SPDX-License-Identifier: MIT
#pragma once

#include <QTimer>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiElement.h"
#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiFocusSearch.h"

namespace quillet {

/// Follows the focus events of all applications and remembers the text element of each that was focused last. Main
/// thread only. Our own process's events are dropped before anything of them is asked.
class AtspiFocusTracker {
 public:
  AtspiFocusTracker(std::int32_t ownPID, HungApplications& hung);
  ~AtspiFocusTracker();
  AtspiFocusTracker(const AtspiFocusTracker&) = delete;
  AtspiFocusTracker& operator=(const AtspiFocusTracker&) = delete;

  /// Called from the event loop after the focus of the application `pid` moved. `element` is the text element that got
  /// it, even if it lost it again meanwhile. It is null if something else has the focus.
  std::function<void(std::int32_t pid, const ElementRef& element)> onFocusEvent;

  /// Handles the events that have arrived, as the event loop would do soon.
  void deliver();
  /// Begins to listen, once libatspi is connected. Repeats do nothing.
  void start();
  /// Registers our listeners with a new registry, if we listened before.
  void restart();
  bool isListening() const { return listener_ != nullptr; }
  /// The text element of `pid` that has the focus now. `role`, if given, gets its role by the same look.
  /// `window` gives the active window. An application that no event told of is searched: each of its windows once, and
  /// a few times again at growing intervals, until an event tells of a change.
  /// A search that takes longer goes on from the event loop. What it finds is then told as if an event had
  /// come.
  AtspiElementRef focused(std::int32_t pid, const std::function<unsigned long()>& window, CallBudget& budget,
                          AtspiRole* role = nullptr);
  /// Whether keys go to `element`. Absent if it doesn't answer, or lost the focus and nothing is known to have got it.
  std::optional<bool> takesKeys(const AtspiElementRef& element, CallBudget& budget);

 private:
  struct Arrival {
    GRef<AtspiAccessible> source;
    int attempts = 0;
  };
  enum class Search { running, found, failed };
  struct Application {
    AtspiElementRef text;
    AtspiElementRef latest;  ///< The last that told of the focus.
    unsigned long searchedWindow = 0;
    int searches = 0;  ///< Of that window, since the last event.
    MonotonicTime searchedAt{};
    std::unique_ptr<AtspiFocusSearch> search;  ///< While it runs.
  };

  void stop();
  static void handle(AtspiEvent* event, void* self);
  std::int32_t pidOf(AtspiAccessible* source);
  bool hasFocus(const Application& application, CallBudget& budget, AtspiRole* role);
  bool shouldSearch(const Application& application, unsigned long window) const;
  Search searchOn(Application& application, CallBudget& budget);
  void continueSearches();
  void tell(std::int32_t pid, const AtspiElementRef& element);
  void takeArrivals(CallBudget& budget);
  /// False if the element doesn't answer yet.
  bool take(const Arrival& arrival, CallBudget& budget);
  bool mayBecomeCompletion(const Arrival& arrival, const AtspiSummary& item, std::int32_t pid, CallBudget& budget);
  void forgetGone();

  std::int32_t ownPID_;
  HungApplications& hung_;
  GRef<AtspiEventListener> listener_;
  std::deque<Arrival> arrivals_;
  bool taking_ = false;
  std::vector<std::pair<std::int32_t, AtspiElementRef>> untold_;
  std::map<std::string, std::int32_t> pids_;  ///< By unique bus name, which is never given twice.
  std::map<std::int32_t, Application> applications_;
  QTimer soon_, retry_, searching_;
};

}  // namespace quillet
