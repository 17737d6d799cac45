// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <fstream>
#include <set>

#include "QuilletVectors/VectorChecks.h"

namespace quillet::vectors {

struct Failure {
  std::string file, id, reason;
};

struct Tally {
  std::int64_t passed = 0, skipped = 0;
  std::vector<Failure> failures;

  bool checkedNothing() const { return passed == 0 && failures.empty(); }
};

/// A path that holds no vectors.
struct InputError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// What became of the check: "ok", or the kit's failure in the vectors' words. Throws what isn't the kit's own: it says
/// nothing about the kit.
inline std::string outcomeOf(const Kind& kind, const Case& test) {
  try {
    kind.check(test);
    return "ok";
  } catch (const Nothing&) {
    return "nothing";
  } catch (const Mismatch&) {
    throw;
  } catch (...) {
    if (auto name = nameOfCurrentFailure()) return *std::move(name);
    throw;
  }
}

inline bool isExpected(const std::string& expected, const std::string& outcome) {
  if (expected == "anyError") return outcome != "ok";
  return outcome == expected || (outcome == "nothing" && expected == "invalid");
}

inline const Kind* kindOf(const json::object& fields) {
  for (const Kind& kind : kKinds) {
    if (fields.at("kind").as_string() != kind.name) continue;
    if (kind.inKey.empty() || fields.at("in").as_object().contains(kind.inKey)) return &kind;
  }
  return nullptr;
}

inline void runCase(const Case& test, const std::string& file, Tally& tally) {
  const Kind* kind = kindOf(test.fields);
  if (kind == nullptr && std::ranges::count(kKindsOfOthers, text(test.fields.at("kind"))) > 0) {
    ++tally.skipped;
    return;
  }
  std::string reason;
  try {
    if (kind == nullptr) throw Mismatch("no check for its kind and input");
    const std::string outcome = outcomeOf(*kind, test);
    if (!isExpected(test.expectation(), outcome)) reason = "expected " + test.expectation() + ", got " + outcome;
  } catch (const std::exception& failure) {
    reason = failure.what();
  }
  if (reason.empty()) {
    ++tally.passed;
  } else {
    tally.failures.push_back({file, text(test.fields.at("id")), reason});
  }
}

inline void runOwn(const json::object& root, const std::string& file, Tally& tally) {
  static const json::object none;
  const json::object& identities = root.contains("identities") ? root.at("identities").as_object() : none;
  for (const auto& fields : root.at("cases").as_array()) runCase({fields.as_object(), identities}, file, tally);
}

inline void runFile(const std::filesystem::path& path, Tally& tally) {
  std::ifstream stream(path, std::ios::binary);
  const std::string content{std::istreambuf_iterator<char>(stream), {}};
  if (!stream) throw InputError("can't read " + path.string());
  json::error_code error;
  const json::value root = json::parse(content, error);
  const json::object* object = error ? nullptr : root.if_object();
  try {
    if (object != nullptr && object->contains("cases")) return runOwn(*object, path.filename(), tally);
  } catch (const std::exception& malformed) {
    throw InputError(path.string() + " is malformed: " + malformed.what());
  }
  throw InputError(path.string() + " holds no vectors");
}

/// A file, or every .json file below a folder in the order of their names. Throws InputError.
inline void runPath(const std::filesystem::path& path, Tally& tally) {
  if (!std::filesystem::is_directory(path)) return runFile(path, tally);
  std::set<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
    if (entry.is_regular_file() && entry.path().extension() == ".json") files.insert(entry.path());
  }
  if (files.empty()) throw InputError(path.string() + " holds no vectors");
  for (const auto& file : files) runFile(file, tally);
}

}  // namespace quillet::vectors
