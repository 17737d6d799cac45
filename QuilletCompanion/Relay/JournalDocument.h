// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillet {

/// The bytes of the journal's file, {"entries":[…],"version":1}, kept current entry by entry: a change encodes one
/// entry and moves what stands behind it. Entries stand in order of `createdAt`, then of their key.
class JournalDocument {
 public:
  JournalDocument();

  std::string_view text() const { return text_; }
  /// Inserts the entry's JSON, or replaces it where the place is taken.
  void put(std::int64_t createdAt, std::string_view key, std::string_view json);
  /// Does nothing where the place is empty.
  void remove(std::int64_t createdAt, std::string_view key);

 private:
  struct Place {
    std::int64_t createdAt;
    std::string key;
    std::size_t begin, size;  ///< Of the entry's JSON in `text_`, without a comma.
  };
  using Position = std::vector<Place>::iterator;

  Position find(std::int64_t createdAt, std::string_view key);
  bool holds(Position position, std::int64_t createdAt, std::string_view key) const;
  void shift(Position from, std::ptrdiff_t distance);

  std::string text_;
  std::vector<Place> places_;
};

}  // namespace quillet
