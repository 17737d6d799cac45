// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// One table of measurements, each beside the floor that it can't beat, taken in the same run.
namespace quillet::bench {

/// A figure with its unit as printed: "us", "ms", "chars/s", "wrong", "KiB".
struct Figure {
  double value = 0;
  std::string unit;
};

struct Row {
  std::string what;
  Figure ours;
  std::string floorName;  ///< What the floor is; empty if there is none.
  std::optional<Figure> floor;
  /// What ours may be at most: a multiple of the floor, or with no floor an absolute figure. Absent: shown only.
  std::optional<double> limit;
  /// The other way about: ours must reach `limit` times the floor.
  bool moreIsBetter = false;
};

class Table {
 public:
  void section(std::string_view title);
  void add(Row row);
  /// A line of text below the section's rows: where the time goes, what was counted.
  void note(std::string text);
  /// False if any row broke its limit.
  bool allMet() const { return allMet_; }

 private:
  bool allMet_ = true;
};

/// Nanoseconds for one call of each, measured in turns so that both meet the same machine: the median of `rounds`
/// batches, a batch taking about `batchMilliseconds`.
struct Comparison {
  double ours = 0, floor = 0;
};
Comparison compare(const std::function<void()>& ours, const std::function<void()>& floor, int rounds = 15,
                   double batchMilliseconds = 20);

/// The value below which the given share (0 to 1) of the samples lies. Sorts in place; `samples` must not be empty.
double percentile(std::vector<double>& samples, double share);

/// CPU time that this process has used, in seconds.
double processCPUSeconds();

/// Keeps the optimiser from dropping a result.
template <class T>
void keep(const T& value) {
  asm volatile("" : : "g"(&value) : "memory");
}

/// A named group of rows; the program's arguments pick groups by name. Defined at namespace scope.
struct Section {
  Section(std::string_view name, void (*run)(Table&));
};

}  // namespace quillet::bench
