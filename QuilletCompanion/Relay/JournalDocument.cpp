// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Relay/JournalDocument.h"

#include <algorithm>
#include <tuple>

namespace quillet {
namespace {

constexpr std::string_view kHead = R"({"entries":[)";
constexpr std::string_view kTail = R"(],"version":1})";

}  // namespace

JournalDocument::JournalDocument() : text_(kHead) {
  text_ += kTail;
}

void JournalDocument::put(std::int64_t createdAt, std::string_view key, std::string_view json) {
  auto position = find(createdAt, key);
  if (holds(position, createdAt, key)) {
    const auto growth = static_cast<std::ptrdiff_t>(json.size()) - static_cast<std::ptrdiff_t>(position->size);
    text_.replace(position->begin, position->size, json);
    position->size = json.size();
    shift(position + 1, growth);
    return;
  }
  const bool isLast = position == places_.end();
  const std::size_t comma = places_.empty() ? 0 : 1;
  const std::size_t begin = isLast ? text_.size() - kTail.size() + comma : position->begin;
  text_.insert(isLast ? begin - comma : begin, json.size() + comma, ',');
  text_.replace(begin, json.size(), json);
  position = places_.insert(position, {createdAt, std::string(key), begin, json.size()});
  shift(position + 1, static_cast<std::ptrdiff_t>(json.size() + comma));
}

void JournalDocument::remove(std::int64_t createdAt, std::string_view key) {
  auto position = find(createdAt, key);
  if (!holds(position, createdAt, key)) return;
  const bool isLast = position + 1 == places_.end();
  const std::size_t comma = places_.size() > 1 ? 1 : 0;
  const std::size_t size = position->size + comma;
  text_.erase(isLast ? position->begin - comma : position->begin, size);
  position = places_.erase(position);
  shift(position, -static_cast<std::ptrdiff_t>(size));
}

JournalDocument::Position JournalDocument::find(std::int64_t createdAt, std::string_view key) {
  return std::lower_bound(places_.begin(), places_.end(), std::tie(createdAt, key),
                          [](const Place& place, const std::tuple<std::int64_t&, std::string_view&>& sought) {
                            const std::string_view own = place.key;
                            return std::tie(place.createdAt, own) < sought;
                          });
}

bool JournalDocument::holds(Position position, std::int64_t createdAt, std::string_view key) const {
  return position != places_.end() && position->createdAt == createdAt && position->key == key;
}

void JournalDocument::shift(Position from, std::ptrdiff_t distance) {
  for (; from != places_.end(); ++from) from->begin += static_cast<std::size_t>(distance);
}

}  // namespace quillet
