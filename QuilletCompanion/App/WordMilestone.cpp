// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/WordMilestone.h"

#include <array>

namespace quillet {
namespace {

struct Book {
  std::string_view title;
  std::int64_t words;
};
constexpr std::array books{
    Book{"The Little Prince", 17000},    Book{"The Great Gatsby", 47000}, Book{"Frankenstein", 75000},
    Book{"Pride and Prejudice", 122000}, Book{"Moby-Dick", 206000},       Book{"War and Peace", 587000},
};
constexpr std::int64_t wordsOfAPage = 250;
constexpr double typedPerMinute = 40, spokenPerMinute = 150;

}  // namespace

WordMilestone WordMilestone::of(std::int64_t words) {
  const Book* reached = nullptr;
  const Book* next = nullptr;
  for (const auto& book : books) {
    if (book.words <= words) {
      reached = &book;
    } else if (next == nullptr) {
      next = &book;
    }
  }
  WordMilestone found;
  if (words == 0) {
    found.headline = "Your first dictation starts the count.";
  } else if (reached != nullptr) {
    found.headline = next != nullptr ? "Longer than %1." : "Longer than %1. Tolstoy would be impressed.";
    found.subject = reached->title;
    found.subjectIsTitle = true;
  } else if (words >= wordsOfAPage) {
    found.headline = "About %1 pages of a book.";
    found.subject = std::to_string(words / wordsOfAPage);
  } else {
    found.headline = "A page of a book is about 250 words. Keep talking.";
  }
  if (next != nullptr) {
    const std::int64_t from = reached == nullptr ? 0 : reached->words;
    found.next = Next{next->title, static_cast<double>(words - from) / static_cast<double>(next->words - from)};
  }
  return found;
}

std::optional<std::int64_t> minutesOfTypingSaved(std::int64_t words) {
  const auto count = static_cast<double>(words);
  const double minutes = count / typedPerMinute - count / spokenPerMinute;
  return minutes < 1 ? std::nullopt : std::optional(static_cast<std::int64_t>(minutes));
}

}  // namespace quillet
