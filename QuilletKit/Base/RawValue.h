// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <optional>
#include <string_view>
#include <type_traits>

/// Raw strings of enumerations. An enumeration joins in by a table in its own namespace, in declared order (the
/// enumerators count from 0):
///
///     constexpr auto rawNames(std::type_identity<JournalState>) {
///       return rawTable<4>({"attempting", "inserted", "refused", "uncertain"});
///     }
namespace quillet {

template <std::size_t N>
constexpr std::array<std::string_view, N> rawTable(const std::string_view (&names)[N]) {
  return std::to_array(names);
}

template <typename E>
concept RawEnum = std::is_enum_v<E> && requires {
  rawNames(std::type_identity<E>{});
};

/// The raw string of an enumerator.
template <RawEnum E>
constexpr std::string_view rawValue(E value) {
  constexpr auto names = rawNames(std::type_identity<E>{});
  return names.at(static_cast<std::size_t>(value));
}

/// The enumerator of a raw string; case-sensitive; absent for any other text.
template <RawEnum E>
constexpr std::optional<E> fromRaw(std::string_view text) {
  constexpr auto names = rawNames(std::type_identity<E>{});
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i] == text) return static_cast<E>(i);
  }
  return std::nullopt;
}

}  // namespace quillet
