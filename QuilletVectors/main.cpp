// SPDX-License-Identifier: MIT
#include <CLI/CLI.hpp>
#include <iostream>

#include "QuilletVectors/VectorRun.h"

namespace quillet::vectors {
namespace {

void printLines(const Tally& tally) {
  for (const auto& failure : tally.failures) {
    std::cout << failure.file << ": " << failure.id << ": " << failure.reason << '\n';
  }
  std::cout << tally.passed << " passed, " << tally.failures.size() << " failed";
  if (tally.skipped > 0) std::cout << ", " << tally.skipped << " skipped";
  std::cout << '\n';
}

void printJSON(const Tally& tally) {
  json::array failures;
  for (const auto& [file, id, reason] : tally.failures) {
    failures.push_back({{"file", file}, {"id", id}, {"reason", reason}});
  }
  const json::object all{
      {"failed", failures.size()}, {"failures", failures}, {"passed", tally.passed}, {"skipped", tally.skipped}};
  std::cout << json::serialize(all) << '\n';
}

int run(int argc, char** argv) {
  CLI::App app(
      "Runs the test vectors of each file, or of each file below a folder, against the kit.\n"
      "Exit status: 0 all passed, 1 some failed, 2 wrong usage or nothing to run.",
      "quillet-vectors");
  bool asJSON = false;
  std::vector<std::filesystem::path> paths;
  app.add_flag("--json", asJSON, "Print one JSON object instead of lines");
  app.add_option("PATH", paths)->required();
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& end) {
    return app.exit(end) == 0 ? 0 : 2;
  }
  Tally tally;
  for (const auto& path : paths) runPath(path, tally);
  asJSON ? printJSON(tally) : printLines(tally);
  if (tally.checkedNothing()) throw InputError("there was nothing to check");
  return tally.failures.empty() ? 0 : 1;
}

}  // namespace
}  // namespace quillet::vectors

int main(int argc, char** argv) {
  try {
    return quillet::vectors::run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << "quillet-vectors: " << error.what() << '\n';
    return 2;
  }
}
