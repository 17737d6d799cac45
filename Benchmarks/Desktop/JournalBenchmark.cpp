// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <fmt/core.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <stdexcept>

#include "Benchmarks/Table.h"
#include "QuilletCompanion/Relay/InsertionJournal.h"
#include "QuilletCompanion/Relay/StoredFile.h"
#include "QuilletKit/Base/AtomicFile.h"
#include "QuilletKit/Base/File.h"
#include "QuilletKit/JSON/JSONCoding.h"

/// A durable change of one journal entry, beside the bare system calls that put the same bytes on the same disk.
namespace quillet::bench {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr std::int64_t kNow = 1'760'000'000'000;
constexpr long kMemoryFileSystem = 0x01021994;

/// A folder on the disk that the programs were built on, since a folder for temporary files may be in memory.
class DiskFolder {
 public:
  DiskFolder() : path_(fs::path(QUILLET_BIN_DIR) / ("journal-benchmark." + std::to_string(::getpid()))) {
    fs::create_directory(path_);
  }
  ~DiskFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  const fs::path& path() const { return path_; }
  bool isMemory() const {
    struct statfs status {};
    return ::statfs(path_.c_str(), &status) == 0 && status.f_type == kMemoryFileSystem;
  }

 private:
  fs::path path_;
};

JournalEntry sample(int number) {
  return {.peerId = std::string(32, 'a'),
          .utteranceId = fmt::format("0f8fad5b-d9cb-469f-a165-{:012}", number),
          .state = JournalState::inserted,
          .method = InsertionMethod::accessibility,
          .appName = "Text Editor",
          .createdAt = kNow + number,
          .updatedAt = kNow + number,
          .result = ResultPayload{.utteranceId = fmt::format("0f8fad5b-d9cb-469f-a165-{:012}", number),
                                  .outcome = InsertionOutcome::inserted,
                                  .appName = "Text Editor",
                                  .method = InsertionMethod::accessibility,
                                  .at = kNow + number,
                                  .signature = std::string(86, 's')}};
}

void check(bool done, const char* what) {
  if (!done) throw std::runtime_error(what);
}

void rawReplace(const std::string& bytes, const fs::path& file, const fs::path& temporary) {
  const int descriptor = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  check(descriptor >= 0, "open");
  check(::write(descriptor, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()), "write");
  check(::fdatasync(descriptor) == 0, "sync");
  ::close(descriptor);
  check(::rename(temporary.c_str(), file.c_str()) == 0, "rename");
  const int folder = ::open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  check(::fsync(folder) == 0, "sync of the folder");
  ::close(folder);
}

template <typename Step>
double microseconds(Step step) {
  const auto start = Clock::now();
  step();
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

/// The file as a journal of so many utterances leaves it.
void fill(const fs::path& file, int entries) {
  std::string text = R"({"entries":[)";
  for (int i = 1; i <= entries; ++i) text += JSONCoding::encode(sample(i)) + (i < entries ? "," : "");
  AtomicFile::write(bytesOf(text + R"(],"version":1})"), file);
}

void measure(Table& table, const fs::path& folder, int entries, int samples) {
  const fs::path file = folder / fmt::format("{}.json", entries), rawFile = folder / "raw";
  fill(file, entries);
  InsertionJournal journal(file, [] { return kNow; });
  std::mt19937 random(1);
  std::vector<double> ours, raw;
  std::string bytes;
  for (int i = 0; i < samples; ++i) {
    auto changed = sample(1 + static_cast<int>(random() % static_cast<unsigned>(entries)));
    changed.updatedAt += i;
    ours.push_back(microseconds([&] { journal.record(changed); }));
    if (bytes.empty()) bytes = File::read(file).value.value_or("");
    raw.push_back(microseconds([&] { rawReplace(bytes, rawFile, folder / "raw.tmp"); }));
  }
  table.add({fmt::format("record, {} entries ({:.0f} KiB)", entries, static_cast<double>(bytes.size()) / 1024),
             {percentile(ours, 0.5), "us"},
             "write, file sync, rename, folder sync",
             Figure{percentile(raw, 0.5), "us"},
             1.25});
}

double startMilliseconds(const fs::path& folder, int entries) {
  const fs::path file = folder / "start.json";
  fill(file, entries);
  std::vector<double> ours;
  for (int i = 0; i < 15; ++i) {
    ours.push_back(microseconds([&] { InsertionJournal(file, [] { return kNow; }); }) / 1000);
  }
  return percentile(ours, 0.5);
}

/// What a start waits for, and how that grows with the journal.
void measureStart(Table& table, const fs::path& folder) {
  table.add({"start, 3500 entries",
             {startMilliseconds(folder, 3500), "ms"},
             "what a person may notice",
             Figure{300, "ms"},
             1.0});
  table.add({"start, 32000 entries",
             {startMilliseconds(folder, 32'000), "ms"},
             "8 times the start of 4000",
             Figure{8 * startMilliseconds(folder, 4000), "ms"},
             3.75});
}

void journal(Table& table) {
  table.section("A change of one journal entry, durable (median)");
  const DiskFolder folder;
  if (folder.isMemory()) table.note("This folder is in memory: the figures say nothing of a disk.");
  for (const auto& [entries, samples] : {std::pair(1, 1000), {170, 600}, {3500, 300}}) {
    measure(table, folder.path(), entries, samples);
  }
  measureStart(table, folder.path());
}
const Section kSection("journal", journal);

}  // namespace
}  // namespace quillet::bench
