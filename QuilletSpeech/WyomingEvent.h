// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillet {

/// One message of the Wyoming protocol: a line of JSON that names the type and may hold data, then more data (an object
/// as well, which counts before the line's), then a payload such as samples. The line tells the lengths of both.
struct WyomingEvent {
  /// The line, understood. Throws JSONCoding::DecodingError.
  struct Head {
    std::string type;
    std::string data;  ///< JSON; empty for none.
    std::size_t dataLength = 0, payloadLength = 0;
    static Head parse(std::string_view line);
  };

  std::string type;
  std::string data;      ///< JSON of the line; empty for none.
  std::string moreData;  ///< JSON behind the line; empty for none.

  /// A text of the data; absent if there is none of that name.
  std::optional<std::string> text(std::string_view name) const;

  // What a client says.
  static std::string describe();
  /// The model's name and the language may be empty.
  static std::string transcribe(const std::string& model, const std::string& language);
  static std::string audioStart();
  static std::string audioChunk(std::span<const std::int16_t> samples);
  static std::string audioStop();
};

/// What a server says of itself in `info`, as far as speech recognition goes.
struct WyomingInfo {
  struct Model {
    std::string name;
    std::vector<std::string> languages;  ///< Empty: any.
    bool installed = true;
  };
  struct Program {
    std::vector<Model> models;
  };
  std::vector<Program> programs;

  /// Throws JSONCoding::DecodingError.
  static WyomingInfo of(const WyomingEvent& event);
};

}  // namespace quillet
