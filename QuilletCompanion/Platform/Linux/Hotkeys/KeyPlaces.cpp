// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Hotkeys/KeyPlaces.h"

#include <algorithm>
#include <array>
#include <utility>

namespace quillet::KeyPlaces {
namespace {

constexpr std::uint16_t othersBegin = 0x100;

using Place = std::pair<std::uint8_t, std::uint8_t>;

/// The virtual code, then the keycode.
constexpr std::array places{
    // letters and what stands among them, row by row
    Place{50, 49},
    Place{18, 10},
    Place{19, 11},
    Place{20, 12},
    Place{21, 13},
    Place{23, 14},
    Place{22, 15},
    Place{26, 16},
    Place{28, 17},
    Place{25, 18},
    Place{29, 19},
    Place{27, 20},
    Place{24, 21},
    Place{93, 132},
    Place{12, 24},
    Place{13, 25},
    Place{14, 26},
    Place{15, 27},
    Place{17, 28},
    Place{16, 29},
    Place{32, 30},
    Place{34, 31},
    Place{31, 32},
    Place{35, 33},
    Place{33, 34},
    Place{30, 35},
    Place{42, 51},
    Place{0, 38},
    Place{1, 39},
    Place{2, 40},
    Place{3, 41},
    Place{5, 42},
    Place{4, 43},
    Place{38, 44},
    Place{40, 45},
    Place{37, 46},
    Place{41, 47},
    Place{39, 48},
    Place{10, 94},
    Place{6, 52},
    Place{7, 53},
    Place{8, 54},
    Place{9, 55},
    Place{11, 56},
    Place{45, 57},
    Place{46, 58},
    Place{43, 59},
    Place{47, 60},
    Place{44, 61},
    Place{94, 97},
    Place{102, 102},
    Place{104, 100},
    // Space, Return, Tab, Backspace, Escape
    Place{49, 65},
    Place{36, 36},
    Place{48, 23},
    Place{51, 22},
    Place{53, 9},
    // modifiers and Caps Lock
    Place{54, 134},
    Place{55, 133},
    Place{56, 50},
    Place{57, 66},
    Place{58, 64},
    Place{59, 37},
    Place{60, 62},
    Place{61, 108},
    Place{62, 105},
    Place{63, 151},
    // F1 to F20
    Place{122, 67},
    Place{120, 68},
    Place{99, 69},
    Place{118, 70},
    Place{96, 71},
    Place{97, 72},
    Place{98, 73},
    Place{100, 74},
    Place{101, 75},
    Place{109, 76},
    Place{103, 95},
    Place{111, 96},
    Place{105, 191},
    Place{107, 192},
    Place{113, 193},
    Place{106, 194},
    Place{64, 195},
    Place{79, 196},
    Place{80, 197},
    Place{90, 198},
    // arrows and what stands above them, menu
    Place{123, 113},
    Place{124, 114},
    Place{125, 116},
    Place{126, 111},
    Place{115, 110},
    Place{119, 115},
    Place{116, 112},
    Place{121, 117},
    Place{114, 118},
    Place{117, 119},
    Place{110, 135},
    // keypad
    Place{71, 77},
    Place{75, 106},
    Place{67, 63},
    Place{78, 82},
    Place{69, 86},
    Place{76, 104},
    Place{65, 91},
    Place{81, 125},
    Place{95, 129},
    Place{82, 90},
    Place{83, 87},
    Place{84, 88},
    Place{85, 89},
    Place{86, 83},
    Place{87, 84},
    Place{88, 85},
    Place{89, 79},
    Place{91, 80},
    Place{92, 81},
    // sound
    Place{72, 123},
    Place{73, 122},
    Place{74, 121},
};

}  // namespace

std::uint16_t virtualCode(std::uint8_t keycode) {
  const auto* const found = std::ranges::find(places, keycode, &Place::second);
  return found == places.end() ? static_cast<std::uint16_t>(othersBegin | keycode) : found->first;
}

std::optional<std::uint8_t> keycode(std::uint16_t virtualCode) {
  if (virtualCode >= othersBegin) {
    const auto keycode = static_cast<std::uint8_t>(virtualCode & 0xff);
    return KeyPlaces::virtualCode(keycode) == virtualCode ? std::optional(keycode) : std::nullopt;
  }
  const auto* const found = std::ranges::find(places, virtualCode, &Place::first);
  return found == places.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace quillet::KeyPlaces
