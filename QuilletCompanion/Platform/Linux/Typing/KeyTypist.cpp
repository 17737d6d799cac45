// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Typing/KeyTypist.h"

#include <QCoreApplication>
#include <QTimer>
#include <algorithm>
#include <span>
#include <thread>
#include <utility>

#include "QuilletCompanion/Platform/Linux/Typing/ArrivalCheck.h"
#include "QuilletCompanion/Platform/Linux/Typing/KeymapPlan.h"
#include "QuilletCompanion/Platform/Linux/X11/X11Keyboard.h"
#include "QuilletKit/Base/Unicode.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr std::size_t unitLimit = 20;
constexpr Duration pollInterval = 2ms;
/// Clients that fetch the keymap by themselves need this long to notice that it has changed.
constexpr Duration remapSettle = 12ms;
/// So much may be under way when more goes out, so that the target needn't wait for us, and goes out at once. Less
/// where the target takes long to answer: it handles all keys that it finds before it looks for questions, and must not
/// be taken for hung.
constexpr std::uint64_t fewAhead = 2, mostAhead = 16;
/// A few, and the next ones only once these have arrived: a page that is never idle tells nothing of what it has taken.
constexpr std::uint64_t leastAhead = 1;
constexpr Duration quickAnswer = 40ms, slowAnswer = 120ms;
/// Less also where keys take long to arrive, as in a page that holds each: what is piled up there would be missed.
constexpr Duration quickArrival = 300ms, slowArrival = 600ms;
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

  std::size_t type(std::u32string_view characters, const Progress& progress, MonotonicTime deadline);
  std::optional<std::size_t> typeNext(std::u32string_view rest, const Progress& progress, MonotonicTime end);
  std::optional<X11Keyboard::State> readyState();
  bool assign(const std::vector<KeymapPlan::Assignment>& assignments);
  std::size_t post(const KeymapPlan::Chunk& chunk, std::u32string_view characters, const X11Keyboard::State& state,
                   const Progress& progress, MonotonicTime end);
  void look(const Progress& progress);
  bool mayGoOn(const Progress& progress, MonotonicTime end);
  bool mayPileUp() const;
  bool awaitRoom(const Progress& progress, MonotonicTime end);
  bool awaitArrival(std::uint64_t characters, const Progress& progress, MonotonicTime end);
  void refresh(unsigned group);
  void restore();

  X11Keyboard keyboard;
  KeymapPlan keymap;
  std::optional<unsigned> group;
  ArrivalCheck arrival;
  bool later = false;  ///< Whether what `type` left may be tried again.
  std::uint64_t ahead = fewAhead;
  MonotonicTime lastPost;
  std::uint64_t arrivedByThen = 0;  ///< At the last post.
  MonotonicTime waitingSince;       ///< Nothing of what is under way has arrived since, or was found slow.
  QTimer idle;
};

KeyTypist::KeyTypist(const std::string& display) : parts_(std::make_unique<Parts>(display)) {}

KeyTypist::~KeyTypist() {
  restoreKeymap();
}

void KeyTypist::beginText() {
  parts_->arrival.beginText();
  parts_->ahead = fewAhead;
}

TypedUnits KeyTypist::type(std::u16string_view units, const Progress& progress, MonotonicTime deadline) {
  const auto characters = typeable(units);
  if (!characters || !parts_->keyboard.connect()) return {};
  const auto count = parts_->type(*characters, progress, deadline);
  if (QCoreApplication::instance() != nullptr) parts_->idle.start(idleBeforeRestore / 1ms);
  TypedUnits typed{.count = 0, .later = count < characters->size() && parts_->later};
  for (std::size_t i = 0; i < count; ++i) typed.count += (*characters)[i] > 0xffff ? 2 : 1;
  return typed;
}

void KeyTypist::announceTo(unsigned long window) {
  parts_->keyboard.announceTo(window);
}

void KeyTypist::restoreKeymap() {
  parts_->restore();
}

/// How many of the characters went out. A chunk that needs more keys than there are goes out in pieces.
std::size_t KeyTypist::Parts::type(std::u32string_view characters, const Progress& progress, MonotonicTime deadline) {
  const MonotonicTime end = deadline - 2 * remapSettle;
  std::size_t count = 0;
  while (count < characters.size()) {
    later = true;
    const auto posted = typeNext(characters.substr(count), progress, end);
    if (!posted) break;
    count += *posted;
  }
  if (arrival.takeLost()) later = false;
  return count;
}

/// Absent when nothing went out. None, where the plan must be made anew.
std::optional<std::size_t> KeyTypist::Parts::typeNext(std::u32string_view rest, const Progress& progress,
                                                      MonotonicTime end) {
  if (!mayGoOn(progress, end - reserve) || steady_clock::now() >= end) {
    later = true;
    return std::nullopt;
  }
  const auto state = readyState();
  later = state.has_value();
  if (!state) return std::nullopt;
  const auto chunk = keymap.plan(rest, {state->level, !state->otherHeld, state->held, arrival.posted()});
  if (chunk.strokes.empty() || !awaitArrival(chunk.awaits, progress, end)) {
    later = !chunk.strokes.empty();
    group.reset();
    return std::nullopt;
  }
  // The assignments were made for the layout as it was before the wait.
  if (!chunk.assignments.empty() && keyboard.layoutChanged()) return 0;
  if (!assign(chunk.assignments)) {
    later = false;
    group.reset();
    return std::nullopt;
  }
  // A key that was pressed or let go meanwhile asks for another plan.
  if (!chunk.assignments.empty() && keyboard.state() != *state) return 0;
  const auto posted = post(chunk, rest, *state, progress, end - reserve);
  later = true;
  return posted > 0 ? std::optional(posted) : std::nullopt;
}

/// In slices that a slow target takes up soon, as long as there is time. How many characters went out; not all if the
/// focus left, or a key was pressed or let go, between slices.
std::size_t KeyTypist::Parts::post(const KeymapPlan::Chunk& chunk, std::u32string_view characters,
                                   const X11Keyboard::State& state, const Progress& progress, MonotonicTime end) {
  std::size_t count = 0;
  while (count < chunk.strokes.size()) {
    if (count > 0) {
      const bool room = awaitRoom(progress, end);
      if (arrival.elsewhere() || keyboard.state() != state || !(room || mayPileUp())) break;
    } else if (arrival.underWay() == 0 && !arrival.before(progress())) {
      break;
    }
    const auto slice = std::min<std::size_t>(std::max(ahead, fewAhead), chunk.strokes.size() - count);
    if (!keyboard.post(std::span(chunk.strokes).subspan(count, slice), state)) break;
    lastPost = steady_clock::now();
    arrivedByThen = arrival.arrived();
    if (arrival.underWay() == 0) waitingSince = lastPost;
    arrival.add(characters.substr(count, slice), lastPost);
    count += slice;
  }
  return count;
}

/// Absent while a shortcut's modifier is held, the keyboard drops keys, or another program, as password prompts and
/// menus do, takes all. The layout is the present one afterwards.
std::optional<X11Keyboard::State> KeyTypist::Parts::readyState() {
  auto state = keyboard.state();
  if (keyboard.layoutChanged()) {
    if (keyboard.becomeCurrent()) std::this_thread::sleep_for(remapSettle);
    state = keyboard.state();
    group.reset();
  }
  if (group != state.group) {
    refresh(state.group);
    state = keyboard.state();
  }
  const bool refuses = state.shortcutHeld || state.grabbed || state.selective;
  return refuses ? std::nullopt : std::optional(std::move(state));
}

bool KeyTypist::Parts::assign(const std::vector<KeymapPlan::Assignment>& assignments) {
  if (assignments.empty()) return true;
  const bool assigned = keyboard.assign(assignments);
  std::this_thread::sleep_for(remapSettle);
  return assigned;
}

bool KeyTypist::Parts::mayGoOn(const Progress& progress, MonotonicTime end) {
  if (arrival.underWay() == 0) return true;
  look(progress);
  const bool caughtUp = awaitRoom(progress, end);
  return !arrival.unreadable() && !arrival.lost() && (caughtUp || mayPileUp());
}

/// Not in a target that was never quick, or no longer is.
bool KeyTypist::Parts::mayPileUp() const {
  return ahead > fewAhead && arrival.underWay() <= mostBehind;
}

void KeyTypist::Parts::look(const Progress& progress) {
  const auto start = steady_clock::now();
  const auto seen = progress();
  const auto end = steady_clock::now();
  const auto before = arrival.arrived();
  arrival.look(seen, end);
  const bool late = arrival.underWay() > 0 && end - waitingSince >= slowArrival;
  const bool early = arrival.arrived() > arrivedByThen && end - lastPost <= quickArrival;
  if (late || arrival.arrived() > before) waitingSince = end;
  if (late || end - start >= slowAnswer) ahead = std::max(ahead / 2, leastAhead);
  if (early && end - start <= quickAnswer) ahead = std::min(ahead * 2, mostAhead);
}

/// False if more than may be under way still is by then.
bool KeyTypist::Parts::awaitRoom(const Progress& progress, MonotonicTime end) {
  const auto allowed = ahead > leastAhead ? ahead : 0;
  return awaitArrival(arrival.posted() - std::min(allowed, arrival.posted()), progress, end);
}

/// False if so many characters of all that was posted haven't arrived by then.
bool KeyTypist::Parts::awaitArrival(std::uint64_t characters, const Progress& progress, MonotonicTime end) {
  while (arrival.arrived() < characters) {
    look(progress);
    if (arrival.arrived() >= characters) break;
    if (steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(pollInterval);
  }
  return !arrival.lost();
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
