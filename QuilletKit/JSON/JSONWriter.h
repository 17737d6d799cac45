// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillet {

/// Appends JSON to a string, with the separators that are due. The caller keeps keys in ascending order and pairs
/// begin and end. Throws JSONCoding::EncodingError; the string then ends anywhere.
class JSONWriter {
 public:
  explicit JSONWriter(std::string& out) : out_(out) {}

  void beginObject() { open('{'); }
  void endObject() { close('}'); }
  void beginArray() { open('['); }
  void endArray() { close(']'); }
  /// A key from a source text: plain ASCII without escapes.
  void key(std::string_view literal);
  /// A key of any text.
  void anyKey(std::string_view text);

  void string(std::string_view text);
  void integer(std::int64_t value);
  void unsignedInteger(std::uint64_t value);
  void boolean(bool value) { raw(value ? "true" : "false"); }
  /// One value that is encoded already.
  void raw(std::string_view encoded);

 private:
  void open(char bracket);
  void close(char bracket);
  void separate();
  void quote(std::string_view text);

  std::string& out_;
  bool comma_ = false;  // the next value or key of this level needs one
};

}  // namespace quillet
