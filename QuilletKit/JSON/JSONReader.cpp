// SPDX-License-Identifier: MIT
#include "QuilletKit/JSON/JSONReader.h"

#include <algorithm>
#include <boost/json/basic_parser_impl.hpp>
#include <limits>
#include <utility>
#include <vector>

#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/JSON/JSONDocument.h"

namespace quillet {
namespace {

using Kind = JSONNode::Kind;
using Member = std::pair<std::string_view, const JSONNode*>;

/// Of repeated keys the last.
const JSONNode* lastMember(const JSONNode& object, std::string_view key) {
  const JSONNode* found = nullptr;
  const JSONNode* at = &object + 1;
  for (std::size_t left = object.count; left > 0; --left) {
    const JSONNode* value = at + 1;
    if (at->text == key) found = value;
    at = value->next();
  }
  return found;
}

std::vector<Member> sortedMembers(const JSONNode& object) {
  std::vector<Member> members;
  members.reserve(object.count);
  for (const JSONNode* at = &object + 1; members.size() < object.count; at = (at + 1)->next()) {
    members.emplace_back(at->text, at + 1);
  }
  std::stable_sort(members.begin(), members.end(), [](const Member& a, const Member& b) { return a.first < b.first; });
  return members;
}

}  // namespace

void JSONReader::parse(std::string_view text, const std::function<void(const JSONReader&)>& use) {
  if (text.size() > std::numeric_limits<std::uint32_t>::max()) throw JSONCoding::DecodingError("too long");
  boost::json::basic_parser<JSONDocument> parser(boost::json::parse_options{}, text);
  boost::json::error_code error;
  const std::size_t consumed = parser.write_some(false, text.data(), text.size(), error);
  if (!error && consumed < text.size()) error = boost::json::error::extra_data;
  if (error) throw JSONCoding::DecodingError("not JSON: " + error.message());
  use(JSONReader(parser.handler().root(), {}));
}

void JSONReader::fail(std::string_view what) const {
  std::string message = key_.empty() ? "the value" : '"' + std::string(key_) + '"';
  throw JSONCoding::DecodingError(message.append(" is ").append(what));
}

bool JSONReader::isNull() const {
  return node_->kind == Kind::null;
}

bool JSONReader::boolean() const {
  if (node_->kind != Kind::boolean) fail("not a boolean");
  return node_->boolean;
}

std::int64_t JSONReader::integer() const {
  if (node_->kind != Kind::integer) fail("not an integer");
  return node_->integer;
}

std::uint64_t JSONReader::unsignedInteger() const {
  if (node_->kind == Kind::unsignedInteger) return node_->unsignedInteger;
  const std::int64_t value = integer();
  if (value < 0) fail("negative");
  return static_cast<std::uint64_t>(value);
}

std::string_view JSONReader::string() const {
  if (node_->kind != Kind::string) fail("not a string");
  return node_->text;
}

std::optional<JSONReader> JSONReader::find(std::string_view key) const {
  if (node_->kind != Kind::object) fail("not an object");
  const JSONNode* found = lastMember(*node_, key);
  if (found == nullptr || found->kind == Kind::null) return std::nullopt;
  return JSONReader(*found, key);
}

JSONReader JSONReader::member(std::string_view key) const {
  if (node_->kind != Kind::object) fail("not an object");
  const JSONNode* found = lastMember(*node_, key);
  if (found == nullptr) throw JSONCoding::DecodingError("\"" + std::string(key) + "\" is missing");
  return JSONReader(*found, key);
}

void JSONReader::forEachMember(const std::function<void(std::string_view, const JSONReader&)>& use) const {
  if (node_->kind != Kind::object) fail("not an object");
  const std::vector<Member> members = sortedMembers(*node_);
  for (std::size_t i = 0; i < members.size(); ++i) {
    const auto& [key, node] = members[i];
    const bool isRepeated = i + 1 < members.size() && members[i + 1].first == key;
    if (!isRepeated) use(key, JSONReader(*node, key_));
  }
}

void JSONReader::forEachElement(const std::function<void(const JSONReader&)>& use) const {
  const JSONNode* at = node_ + 1;
  for (std::size_t left = size(); left > 0; --left, at = at->next()) use(JSONReader(*at, key_));
}

std::size_t JSONReader::size() const {
  if (node_->kind != Kind::array) fail("not an array");
  return node_->count;
}

}  // namespace quillet
