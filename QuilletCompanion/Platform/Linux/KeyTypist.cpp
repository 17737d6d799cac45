// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/KeyTypist.h"

#include <QCoreApplication>
#include <QTimer>
#include <algorithm>
#include <thread>
#include <utility>

#include "QuilletCompanion/Platform/Linux/ArrivalCheck.h"
#include "QuilletCompanion/Platform/Linux/KeymapPlan.h"
#include "QuilletCompanion/Platform/Linux/X11Keyboard.h"
#include "QuilletKit/Unicode.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr std::size_t unitLimit = 20;
constexpr Duration pollInterval = 2ms;
/// Clients that fetch the keymap by themselves need this long to notice that it has changed.
constexpr Duration remapSettle = 12ms;
/// A new chunk goes out while this much is still under way, so that the target needn't wait for us.
constexpr std::uint64_t aheadOfTarget = 16;
/// Where the target is slower than the time we have: so much may pile up before it is given up.
constexpr std::uint64_t mostBehind = 100;
/// What posting without having seen the target catch up leaves of that time.
constexpr Duration reserve = 100ms;
/// Before the keymap is given back, for what is still under way.
constexpr Duration farewell = 60ms;
constexpr Duration idleBeforeRestore = 5s;

/// Absent for what can't be typed.
std::optional<std::u32string> typeable(std::u16string_view units) {
  if (units.empty() || units.size() > unitLimit) return std::nullopt;
  auto characters = Unicode::toUTF32(units);
  if (characters && std::ranges::any_of(*characters, Unicode::isControl)) return std::nullopt;
  return characters;
}

}  // namespace

struct KeyTypist::Parts {
  explicit Parts(const std::string& display) : keyboard(display) {
    idle.setSingleShot(true);
    QObject::connect(&idle, &QTimer::timeout, [this] { restore(); });
  }

  bool type(std::u32string_view characters, const Progress& progress, MonotonicTime deadline);
  std::optional<X11Keyboard::State> readyState();
  bool assign(const std::vector<KeymapPlan::Assignment>& assignments);
  bool mayGoOn(const Progress& progress, MonotonicTime end);
  bool awaitArrival(std::uint64_t characters, const Progress& progress, MonotonicTime end);
  void refresh(unsigned group);
  void restore();

  X11Keyboard keyboard;
  KeymapPlan keymap;
  std::optional<unsigned> group;
  ArrivalCheck arrival;
  MonotonicTime lastPost;
  QTimer idle;
};

KeyTypist::KeyTypist(const std::string& display) : parts_(std::make_unique<Parts>(display)) {}

KeyTypist::~KeyTypist() {
  restoreKeymap();
}

bool KeyTypist::type(std::u16string_view units, const Progress& progress, MonotonicTime deadline) {
  const auto characters = typeable(units);
  if (!characters || !parts_->keyboard.usable()) return false;
  const bool posted = parts_->type(*characters, progress, deadline);
  if (QCoreApplication::instance() != nullptr) parts_->idle.start(idleBeforeRestore / 1ms);
  return posted;
}

void KeyTypist::restoreKeymap() {
  parts_->restore();
}

/// A chunk that needs more keys than there are goes out in pieces. Once a piece is out, the answer stays true: what
/// follows is for the caller's own look at the field to judge.
bool KeyTypist::Parts::type(std::u32string_view characters, const Progress& progress, MonotonicTime deadline) {
  const MonotonicTime end = deadline - 2 * remapSettle;
  bool posted = false;
  while (!characters.empty()) {
    if (!mayGoOn(progress, end - reserve) || steady_clock::now() >= end) return posted;
    const auto state = readyState();
    if (!state) return posted;
    const auto chunk = keymap.plan(characters, {state->level, !state->otherHeld, state->held, arrival.posted()});
    if (chunk.strokes.empty() || !awaitArrival(chunk.awaits, progress, end) || !assign(chunk.assignments)) {
      group.reset();
      return posted;
    }
    // A key that was pressed or let go meanwhile asks for another plan.
    if (!chunk.assignments.empty() && keyboard.state() != *state) continue;
    if (arrival.underWay() == 0) arrival.before(progress());
    if (!keyboard.post(chunk.strokes, *state)) return posted;
    lastPost = steady_clock::now();
    arrival.add(characters.substr(0, chunk.strokes.size()), lastPost);
    posted = true;
    characters.remove_prefix(chunk.strokes.size());
  }
  return posted;
}

/// Absent while a shortcut's modifier is held. The layout is the present one afterwards.
std::optional<X11Keyboard::State> KeyTypist::Parts::readyState() {
  auto state = keyboard.state();
  if (keyboard.layoutChanged() || group != state.group) {
    refresh(state.group);
    state = keyboard.state();
  }
  return state.shortcutHeld ? std::nullopt : std::optional(std::move(state));
}

bool KeyTypist::Parts::assign(const std::vector<KeymapPlan::Assignment>& assignments) {
  if (assignments.empty()) return true;
  const bool assigned = keyboard.assign(assignments);
  std::this_thread::sleep_for(remapSettle);
  return assigned;
}

bool KeyTypist::Parts::mayGoOn(const Progress& progress, MonotonicTime end) {
  if (arrival.underWay() > 0) arrival.look(progress(), steady_clock::now());
  const auto ahead = arrival.posted() - std::min(aheadOfTarget, arrival.posted());
  if (awaitArrival(ahead, progress, end)) return true;
  return !arrival.unreadable() && arrival.underWay() <= mostBehind;
}

/// False if so many characters of all that was posted haven't arrived by then.
bool KeyTypist::Parts::awaitArrival(std::uint64_t characters, const Progress& progress, MonotonicTime end) {
  while (arrival.arrived() < characters) {
    arrival.look(progress(), steady_clock::now());
    if (arrival.arrived() >= characters) break;
    if (steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(pollInterval);
  }
  return true;
}

void KeyTypist::Parts::refresh(unsigned newGroup) {
  group = newGroup;
  auto layout = keyboard.readLayout(newGroup);
  keymap.setLayout(std::move(layout.natives), layout.borrowable);
}

void KeyTypist::Parts::restore() {
  idle.stop();
  std::this_thread::sleep_until(lastPost + farewell);
  keyboard.restore();
  keymap.setLayout({}, {});
  group.reset();
}

}  // namespace quillet
