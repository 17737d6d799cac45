// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/X11/XSettings.h"

#include <X11/Xlib.h>

#include <memory>
#include <optional>

#include "QuilletCompanion/Platform/Linux/X11/X11Connection.h"

namespace quillet::XSettings {
namespace {

enum Kind : std::uint8_t { integer, text, color };

/// Walks the bytes; what lies beyond their end reads as nothing.
class Reader {
 public:
  explicit Reader(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

  std::optional<std::span<const std::uint8_t>> take(std::size_t count) {
    if (count > rest_.size()) return std::nullopt;
    const auto taken = rest_.first(count);
    rest_ = rest_.subspan(count);
    return taken;
  }
  std::optional<std::uint32_t> number(std::size_t bytes) {
    const auto taken = take(bytes);
    if (!taken) return std::nullopt;
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i) value = value << 8U | (*taken)[bigEndian ? i : bytes - 1 - i];
    return value;
  }
  /// Filled up to a multiple of four.
  std::optional<std::string> text(std::size_t length) {
    const auto taken = take(length);
    if (!taken || !take((4 - length % 4) % 4)) return std::nullopt;
    return std::string(taken->begin(), taken->end());
  }

  bool bigEndian = false;

 private:
  std::span<const std::uint8_t> rest_;
};

bool readSetting(Reader& from, Values& values) {
  constexpr std::size_t colorBytes = 8;
  const auto kind = from.number(1);
  from.take(1);
  const auto name = from.text(from.number(2).value_or(0));
  from.number(4);  // when it changed last
  if (!kind || !name) return false;
  if (*kind == color) return from.take(colorBytes).has_value();
  const auto number = from.number(4);
  if (!number || *kind > color) return false;
  if (*kind == integer) {
    values[*name] = static_cast<std::int32_t>(*number);
    return true;
  }
  const auto value = from.text(*number);
  if (value) values[*name] = *value;
  return value.has_value();
}

Window daemonOf(Display* display) {
  const auto name = "_XSETTINGS_S" + std::to_string(DefaultScreen(display));
  return XGetSelectionOwner(display, XInternAtom(display, name.c_str(), False));
}

}  // namespace

unsigned long daemon() {
  const X11Connection connection({});
  if (!connection.usable()) return 0;
  const X11ErrorTrap trap(connection);
  return daemonOf(connection.get());
}

Values parse(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t padding = 3;
  Reader reader(bytes);
  reader.bigEndian = reader.number(1) == std::uint32_t{MSBFirst};
  reader.take(padding);
  reader.number(4);  // of this state
  Values values;
  for (auto left = reader.number(4).value_or(0); left > 0 && readSetting(reader, values); --left) {
  }
  return values;
}

Values read() {
  constexpr long most = 1 << 16;  // of four bytes
  const X11Connection connection({});
  if (!connection.usable()) return {};
  auto* const display = connection.get();
  const X11ErrorTrap trap(connection);
  const Window owner = daemonOf(display);
  if (owner == None) return {};
  const Atom settings = XInternAtom(display, "_XSETTINGS_SETTINGS", False);
  Atom type = None;
  int format = 0;
  unsigned long count = 0;
  unsigned long rest = 0;
  unsigned char* raw = nullptr;
  const int status =
      XGetWindowProperty(display, owner, settings, 0, most, False, settings, &type, &format, &count, &rest, &raw);
  const std::unique_ptr<unsigned char, int (*)(void*)> data(raw, &XFree);
  if (status != Success || data == nullptr || format != 8) return {};
  return parse({data.get(), count});
}

}  // namespace quillet::XSettings
