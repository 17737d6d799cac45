// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

namespace quillet {

struct JSONNode;

/// A view of one value within a parsed text; valid inside JSONReader::parse only. Every accessor throws
/// JSONCoding::DecodingError for a value of another type.
class JSONReader {
 public:
  /// Parses the whole text and shows the value to `use`. Throws DecodingError for what is no JSON.
  static void parse(std::string_view text, const std::function<void(const JSONReader&)>& use);

  bool isNull() const;
  bool boolean() const;
  /// Only of a number that was written without fraction and exponent, and that fits.
  std::int64_t integer() const;
  std::uint64_t unsignedInteger() const;
  std::string_view string() const;

  /// A member of an object; absent also when it is null.
  std::optional<JSONReader> find(std::string_view key) const;
  /// Throws when the member is absent. May be null.
  JSONReader member(std::string_view key) const;
  /// In ascending order of the keys, the last of repeated ones only.
  void forEachMember(const std::function<void(std::string_view key, const JSONReader&)>& use) const;
  void forEachElement(const std::function<void(const JSONReader&)>& use) const;
  /// Of an array.
  std::size_t size() const;

  /// Throws DecodingError, naming this value's key: `"key" is <what>`.
  [[noreturn]] void fail(std::string_view what) const;

 private:
  JSONReader(const JSONNode& node, std::string_view key) : node_(&node), key_(key) {}

  const JSONNode* node_;
  std::string_view key_;
};

}  // namespace quillet
