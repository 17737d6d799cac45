// SPDX-License-Identifier: MIT
#pragma once

#include <boost/container/small_vector.hpp>
#include <boost/json/error.hpp>
#include <boost/json/string_view.hpp>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace quillet {

/// One value, or one key of an object, of a parsed text. The nodes stand in the order of the text: an object is
/// followed by key, value, key, value, an array by its elements.
struct JSONNode {
  enum class Kind : std::uint8_t { null, boolean, integer, unsignedInteger, number, string, array, object };

  Kind kind = Kind::null;
  std::uint32_t extent = 1;  ///< Nodes that belong to this value, itself included.
  union {
    std::int64_t integer = 0;
    std::uint64_t unsignedInteger;
    bool boolean;
    std::size_t count;  ///< Elements or members.
  };
  std::string_view text{};

  const JSONNode* next() const { return this + extent; }
};

/// Takes the parser's events and lays the values out flat. Texts without escapes are views of the source; the few
/// others are kept here.
class JSONDocument {
 public:
  explicit JSONDocument(std::string_view source) : source_(source) {}
  JSONDocument(const JSONDocument&) = delete;
  JSONDocument& operator=(const JSONDocument&) = delete;

  const JSONNode& root() const { return nodes_.front(); }

  // The names and the limits are those that boost::json::basic_parser asks for.
  static constexpr std::size_t max_object_size = SIZE_MAX;
  static constexpr std::size_t max_array_size = SIZE_MAX;
  static constexpr std::size_t max_key_size = SIZE_MAX;
  static constexpr std::size_t max_string_size = SIZE_MAX;

  using Error = boost::json::error_code;
  using Text = boost::json::string_view;

  bool on_document_begin(Error&) { return true; }
  bool on_document_end(Error&) { return true; }
  bool on_object_begin(Error&) { return open(JSONNode::Kind::object); }
  bool on_object_end(std::size_t count, Error&) { return close(count); }
  bool on_array_begin(Error&) { return open(JSONNode::Kind::array); }
  bool on_array_end(std::size_t count, Error&) { return close(count); }
  bool on_key_part(Text part, std::size_t, Error&) { return keep(part); }
  bool on_key(Text rest, std::size_t size, Error&) { return addText(rest, size); }
  bool on_string_part(Text part, std::size_t, Error&) { return keep(part); }
  bool on_string(Text rest, std::size_t size, Error&) { return addText(rest, size); }
  bool on_number_part(Text, Error&) { return true; }
  bool on_int64(std::int64_t value, Text, Error&) { return add({JSONNode::Kind::integer, 1, {.integer = value}}); }
  bool on_uint64(std::uint64_t value, Text, Error&) {
    return add({JSONNode::Kind::unsignedInteger, 1, {.unsignedInteger = value}});
  }
  bool on_double(double value, Text text, Error& error) {
    std::from_chars(text.data(), text.data() + text.size(), value);  // the parser's own may be off by a bit
    if (!std::isfinite(value)) error = boost::json::error::exponent_overflow;
    return !error.failed() && add({JSONNode::Kind::number});
  }
  bool on_bool(bool value, Error&) { return add({JSONNode::Kind::boolean, 1, {.boolean = value}}); }
  bool on_null(Error&) { return add({}); }
  bool on_comment_part(Text, Error&) { return true; }
  bool on_comment(Text, Error&) { return true; }

 private:
  bool add(const JSONNode& node) {
    nodes_.push_back(node);
    return true;
  }

  bool open(JSONNode::Kind kind) {
    const auto index = static_cast<std::uint32_t>(nodes_.size());
    add({kind, open_});  // until it is closed, the extent holds the index of the container around it
    open_ = index;
    return true;
  }

  bool close(std::size_t count) {
    JSONNode& node = nodes_[open_];
    const std::uint32_t outer = node.extent;
    node.extent = static_cast<std::uint32_t>(nodes_.size()) - open_;
    node.count = count;
    open_ = outer;
    return true;
  }

  bool isOfSource(Text text) const {
    const std::less_equal<const char*> before;
    return before(source_.data(), text.data()) && before(text.data() + text.size(), source_.data() + source_.size());
  }

  /// Never moves what was kept before, since a text is no longer than its source.
  bool keep(Text part) {
    if (kept_.capacity() < source_.size()) kept_.reserve(source_.size());
    kept_.append(part.data(), part.size());
    return true;
  }

  bool addText(Text rest, std::size_t size) {
    JSONNode node{JSONNode::Kind::string};
    if (rest.size() == size && isOfSource(rest)) {
      node.text = {rest.data(), rest.size()};
    } else {
      keep(rest);
      node.text = std::string_view(kept_).substr(kept_.size() - size);
    }
    return add(node);
  }

  std::string_view source_;
  boost::container::small_vector<JSONNode, 48> nodes_;
  std::string kept_;
  std::uint32_t open_ = 0;
};

}  // namespace quillet
