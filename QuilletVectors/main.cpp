// SPDX-License-Identifier: MIT
#include <cstring>
#include <iostream>

#include "QuilletKit/JSON/JSONWriter.h"
#include "QuilletVectors/VectorRun.h"

namespace quillet::vectors {
namespace {

constexpr const char* kUsage =
    "usage: quillet-vectors [--json] [--help] PATH...\n"
    "Runs the test vectors of each file, or of each file below a folder, against the kit.\n"
    "  --json  print one JSON object instead of lines\n"
    "Exit status: 0 all passed, 1 some failed, 2 wrong usage or nothing to run.\n";

void printLines(const Tally& tally) {
  for (const auto& failure : tally.failures) {
    std::cout << failure.file << ": " << failure.id << ": " << failure.reason << '\n';
  }
  std::cout << tally.passed << " passed, " << tally.failures.size() << " failed";
  if (tally.skipped > 0) std::cout << ", " << tally.skipped << " skipped";
  std::cout << '\n';
}

void printJSON(const Tally& tally) {
  std::string out;
  JSONWriter writer(out);
  writer.beginObject();
  writer.key("failed");
  writer.integer(static_cast<std::int64_t>(tally.failures.size()));
  writer.key("failures");
  writer.beginArray();
  for (const auto& failure : tally.failures) {
    writer.beginObject();
    writer.key("file");
    writer.string(failure.file);
    writer.key("id");
    writer.string(failure.id);
    writer.key("reason");
    writer.string(failure.reason);
    writer.endObject();
  }
  writer.endArray();
  writer.key("passed");
  writer.integer(tally.passed);
  writer.key("skipped");
  writer.integer(tally.skipped);
  writer.endObject();
  std::cout << out << '\n';
}

int run(int argc, char** argv) {
  bool asJSON = false;
  std::vector<std::filesystem::path> paths;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument == "--help") {
      std::cout << kUsage;
      return 0;
    }
    if (argument == "--json") {
      asJSON = true;
    } else if (argument.starts_with('-')) {
      std::cerr << "unknown option " << argument << '\n' << kUsage;
      return 2;
    } else {
      paths.emplace_back(argument);
    }
  }
  if (paths.empty()) {
    std::cerr << kUsage;
    return 2;
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
