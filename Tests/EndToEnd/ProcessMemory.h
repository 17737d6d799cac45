// SPDX-License-Identifier: MIT
#pragma once

#include <unistd.h>

#include <QByteArray>
#include <QString>
#include <cstdio>
#include <fstream>
#include <vector>

namespace quillet::test {

/// What another process could be found to hold at one moment.
class ProcessMemory {
 public:
  using Count = int;
  enum class Pages { any, ordinary };

  static bool isReadable(qint64 pid) { return ::access(("/proc/" + std::to_string(pid) + "/mem").c_str(), R_OK) == 0; }

  explicit ProcessMemory(qint64 pid) {
    const auto process = "/proc/" + std::to_string(pid);
    std::ifstream maps(process + "/smaps");
    std::ifstream memory(process + "/mem", std::ios::binary);
    for (std::string line; std::getline(maps, line);) {
      unsigned long begin = 0, end = 0, file = 0;
      char access[5] = "";
      if (std::sscanf(line.c_str(), "%lx-%lx %4s %*x %*s %lu", &begin, &end, access, &file) == 4) {
        const bool isItsOwn = access[0] == 'r' && (access[1] == 'w' || file == 0);
        parts_.push_back(Part{std::string(isItsOwn ? end - begin : 0, '\0'), false});
        memory.clear();
        memory.seekg(static_cast<std::streamoff>(begin));
        memory.read(parts_.back().content.data(), static_cast<std::streamsize>(parts_.back().content.size()));
      } else if (line.starts_with("VmFlags:")) {
        // Neither paged out nor in a core dump.
        parts_.back().guarded = line.find(" lo") != line.npos && line.find(" dd") != line.npos;
      }
    }
  }

  /// How often one of these stands there.
  Count count(const std::vector<QByteArray>& wanted, Pages pages = Pages::any) const {
    Count found = 0;
    for (const auto& part : parts_) {
      if (part.guarded && pages == Pages::ordinary) continue;
      for (const auto& each : wanted) {
        const std::string bytes = each.toStdString();
        for (auto at = part.content.find(bytes); at != std::string::npos; at = part.content.find(bytes, at + 1)) {
          ++found;
        }
      }
    }
    return found;
  }

 private:
  struct Part {
    std::string content;
    bool guarded = false;
  };
  std::vector<Part> parts_;
};

/// A text as it passes through a program: in one, two or four bytes a character.
inline std::vector<QByteArray> textForms(const QString& text) {
  const auto utf32 = text.toStdU32String();
  return {text.toUtf8(), QByteArray(reinterpret_cast<const char*>(text.utf16()), 2 * text.size()),
          QByteArray(reinterpret_cast<const char*>(utf32.data()), 4 * static_cast<qsizetype>(utf32.size()))};
}

}  // namespace quillet::test
