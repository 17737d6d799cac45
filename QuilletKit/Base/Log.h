// SPDX-License-Identifier: MIT
#pragma once

#include <spdlog/fmt/fmt.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

/// The one logger: subsystem "com.fernhollow.quillet.mac", a category, a level, and a constant text whose arguments are
/// public values only. Dictated text, keys and names of peers never go into it.
namespace quillet::Log {

enum class Level { debug, info, standard, error };
/// "debug", "info", "default" or "error"; absent for another text.
std::optional<Level> levelNamed(std::string_view text);

struct Line {
  Level level;
  std::string_view category;
  std::string_view message;
};

/// Where lines go. Writes to the systemd journal when standard error is connected to it, to standard error otherwise.
/// Call once, before other threads start. Lines under `minimum` are dropped. A line that is repeated is written ten
/// times in a minute; how often it came beyond that stands in a line of its own.
void configure(Level minimum, std::string_view program);

/// Replaces the destination (tests); an empty function restores the default. Returns the previous one.
using Sink = std::function<void(const Line&)>;
Sink setSink(Sink sink);

void write(Level level, std::string_view category, std::string_view message);

template <typename... Args>
void debug(std::string_view category, fmt::format_string<Args...> text, Args&&... args) {
  write(Level::debug, category, fmt::format(text, std::forward<Args>(args)...));
}
template <typename... Args>
void info(std::string_view category, fmt::format_string<Args...> text, Args&&... args) {
  write(Level::info, category, fmt::format(text, std::forward<Args>(args)...));
}
template <typename... Args>
void standard(std::string_view category, fmt::format_string<Args...> text, Args&&... args) {
  write(Level::standard, category, fmt::format(text, std::forward<Args>(args)...));
}
template <typename... Args>
void error(std::string_view category, fmt::format_string<Args...> text, Args&&... args) {
  write(Level::error, category, fmt::format(text, std::forward<Args>(args)...));
}

}  // namespace quillet::Log
