// SPDX-License-Identifier: MIT
#include "Benchmarks/Table.h"

#include <fmt/core.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace quillet::bench {
namespace {

using SteadyClock = std::chrono::steady_clock;

std::string shown(const Figure& figure) {
  const double magnitude = std::abs(figure.value);
  const int digits = magnitude >= 100 || magnitude == std::floor(magnitude) ? 0 : magnitude >= 10 ? 1 : 2;
  return fmt::format("{:.{}f} {}", figure.value, digits, figure.unit);
}

double nanosecondsPerCall(const std::function<void()>& call, long calls) {
  const auto start = SteadyClock::now();
  for (long i = 0; i < calls; ++i) call();
  return std::chrono::duration<double, std::nano>(SteadyClock::now() - start).count() / static_cast<double>(calls);
}

long callsFor(const std::function<void()>& call, double batchMilliseconds) {
  const double once = std::max(1.0, nanosecondsPerCall(call, 3));
  return std::max(1L, std::lround(batchMilliseconds * 1e6 / once));
}

}  // namespace

void Table::section(std::string_view title) {
  fmt::print("\n{}\n{:<52} {:>14} {:>14} {:>9} {:>8}  {}\n", title, "what", "ours", "floor", "ratio", "limit",
             "floor is");
  std::fflush(stdout);
}

void Table::add(Row row) {
  const double reference = row.floor ? row.floor->value : 1;
  const double ratio = row.ours.value == 0 ? 0 : row.ours.value / reference;
  const bool met = !row.limit || (row.moreIsBetter ? ratio >= *row.limit : ratio <= *row.limit);
  allMet_ = allMet_ && met;
  const std::string limit =
      row.limit ? fmt::format("{}{:g}{}", row.moreIsBetter ? ">=" : "<=", *row.limit, row.floor ? "x" : "") : "";
  fmt::print("{:<52} {:>14} {:>14} {:>9} {:>8}  {}{}\n", row.what, shown(row.ours), row.floor ? shown(*row.floor) : "",
             row.floor ? fmt::format("{:.2f}x", ratio) : "", limit, row.floorName, met ? "" : "  MISSED");
  std::fflush(stdout);
}

void Table::note(std::string text) {
  fmt::print("  {}\n", text);
  std::fflush(stdout);
}

Comparison compare(const std::function<void()>& ours, const std::function<void()>& floor, int rounds,
                   double batchMilliseconds) {
  const long ourCalls = callsFor(ours, batchMilliseconds), floorCalls = callsFor(floor, batchMilliseconds);
  std::vector<double> ourTimes, floorTimes;
  for (int round = 0; round < rounds; ++round) {
    ourTimes.push_back(nanosecondsPerCall(ours, ourCalls));
    floorTimes.push_back(nanosecondsPerCall(floor, floorCalls));
  }
  return {percentile(ourTimes, 0.5), percentile(floorTimes, 0.5)};
}

double percentile(std::vector<double>& samples, double share) {
  std::sort(samples.begin(), samples.end());
  const auto last = static_cast<double>(samples.size() - 1);
  return samples[static_cast<std::size_t>(std::lround(share * last))];
}

double processCPUSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace quillet::bench
