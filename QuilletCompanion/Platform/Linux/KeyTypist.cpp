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

namespace quillet {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr std::size_t unitLimit = 20;
constexpr Duration pollInterval = 1ms;
/// Clients that fetch the keymap by themselves need this long to notice that it has changed.
constexpr Duration remapSettle = 12ms;
/// Before the keymap is given back, for what is still under way.
constexpr Duration farewell = 60ms;
constexpr Duration idleBeforeRestore = 5s;

bool isControl(char32_t c) {
  return c < 0x20 || (c >= 0x7f && c <= 0x9f) || c == 0x2028 || c == 0x2029;
}

/// Absent for what can't be typed.
std::optional<std::u32string> typeable(std::u16string_view units) {
  if (units.empty() || units.size() > unitLimit) return std::nullopt;
  std::u32string characters;
  for (std::size_t i = 0; i < units.size(); ++i) {
    char32_t c = units[i];
    const bool high = c >= 0xd800 && c <= 0xdbff;
    if (high && i + 1 < units.size() && units[i + 1] >= 0xdc00 && units[i + 1] <= 0xdfff) {
      c = 0x10000 + ((c - 0xd800) << 10) + (units[++i] - 0xdc00);
    } else if (high || (c >= 0xdc00 && c <= 0xdfff)) {
      return std::nullopt;
    }
    if (isControl(c)) return std::nullopt;
    characters.push_back(c);
  }
  return characters;
}

}  // namespace

struct KeyTypist::Parts {
  explicit Parts(const std::string& display) : keyboard(display) {
    idle.setSingleShot(true);
    QObject::connect(&idle, &QTimer::timeout, [this] { restore(); });
  }

  bool type(std::u32string_view characters, const Progress& progress, MonotonicTime deadline);
  bool assign(const std::vector<KeymapPlan::Assignment>& assignments);
  bool post(const KeymapPlan::Chunk& chunk, std::u32string_view characters, bool capsLock, const Progress& progress);
  ArrivalCheck::Answer awaitEarlier(const Progress& progress, MonotonicTime deadline);
  void refresh(unsigned group);
  void restore();

  X11Keyboard keyboard;
  KeymapPlan keymap;
  std::optional<unsigned> group;
  std::optional<ArrivalCheck> earlier;
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

/// A chunk that needs more keycodes than there are goes out in pieces. Once a piece is out, the answer stays true:
/// what follows is for the caller's own look at the field to judge.
bool KeyTypist::Parts::type(std::u32string_view characters, const Progress& progress, MonotonicTime deadline) {
  bool posted = false;
  while (!characters.empty()) {
    const auto arrival = awaitEarlier(progress, deadline);
    const auto state = keyboard.state();
    if (state.shortcutHeld) return posted;
    if (keyboard.layoutChanged() || group != state.group) refresh(state.group);
    const auto chunk = keymap.plan(characters, {state.shiftingHeld, state.held});
    const bool ready = !chunk.reassigns || arrival.mayReassign;
    const bool inTime = steady_clock::now() + (chunk.assignments.empty() ? 0ms : remapSettle) <= deadline;
    if (chunk.strokes.empty() || !ready || !inTime || !assign(chunk.assignments)) {
      group.reset();
      return posted;
    }
    // A key that was pressed or let go meanwhile asks for another plan.
    if (!chunk.assignments.empty() && keyboard.state() != state) continue;
    if (!post(chunk, characters.substr(0, chunk.strokes.size()), state.capsLock, progress)) return posted;
    posted = true;
    characters.remove_prefix(chunk.strokes.size());
  }
  return posted;
}

bool KeyTypist::Parts::assign(const std::vector<KeymapPlan::Assignment>& assignments) {
  if (assignments.empty()) return true;
  const bool assigned = keyboard.assign(assignments);
  std::this_thread::sleep_for(remapSettle);
  return assigned;
}

bool KeyTypist::Parts::post(const KeymapPlan::Chunk& chunk, std::u32string_view characters, bool capsLock,
                            const Progress& progress) {
  const auto lastBorrowed =
      std::find_if(chunk.strokes.rbegin(), chunk.strokes.rend(), [](const auto& stroke) { return stroke.borrowed; });
  ArrivalCheck::Posted posted;
  if (earlier) {
    posted = earlier->posted();
  } else {
    posted.before = progress();
  }
  if (!keyboard.post(chunk.strokes, capsLock)) return false;
  if (lastBorrowed != chunk.strokes.rend()) {
    posted.throughBorrowed = posted.characters.size() + static_cast<std::size_t>(chunk.strokes.rend() - lastBorrowed);
  }
  posted.characters += characters;
  posted.at = lastPost = steady_clock::now();
  earlier.emplace(std::move(posted));
  return true;
}

ArrivalCheck::Answer KeyTypist::Parts::awaitEarlier(const Progress& progress, MonotonicTime deadline) {
  if (!earlier) return {true, true};
  const MonotonicTime end = deadline - 2 * remapSettle;
  for (;;) {
    const auto answer = earlier->look(progress(), steady_clock::now());
    if (answer.complete) earlier.reset();
    if (answer.complete || steady_clock::now() >= end) return answer;
    std::this_thread::sleep_for(pollInterval);
  }
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
