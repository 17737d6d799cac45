// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/DesktopEntries.h"

#include <glib.h>

#include <QStandardPaths>
#include <array>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace quillet {
namespace {

struct Entry {
  std::string file, name, windowClass, program;
};

struct KeyFileDeleter {
  void operator()(GKeyFile* file) const { g_key_file_unref(file); }
};

std::string take(char* text) {
  const std::unique_ptr<char, decltype(&g_free)> owned(text, &g_free);
  return text != nullptr ? text : "";
}

std::string programOf(const std::string& command) {
  const auto first = command.substr(0, command.find(' '));
  return first.substr(first.rfind('/') + 1);
}

std::optional<Entry> read(const std::filesystem::path& path) {
  const std::unique_ptr<GKeyFile, KeyFileDeleter> file(g_key_file_new());
  if (!g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, nullptr)) return std::nullopt;
  const auto value = [&](const char* key) {
    return take(g_key_file_get_string(file.get(), "Desktop Entry", key, nullptr));
  };
  return Entry{.file = path.stem().string(),
               .name = take(g_key_file_get_locale_string(file.get(), "Desktop Entry", "Name", nullptr, nullptr)),
               .windowClass = value("StartupWMClass"),
               .program = programOf(value("Exec"))};
}

std::vector<Entry> readAll() {
  std::vector<Entry> entries;
  for (const auto& folder : QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation)) {
    std::error_code error;
    for (std::filesystem::directory_iterator file(folder.toStdString(), error), end; !error && file != end;
         file.increment(error)) {
      if (file->path().extension() != ".desktop") continue;
      if (auto entry = read(file->path()); entry && !entry->name.empty()) entries.push_back(std::move(*entry));
    }
  }
  return entries;
}

bool equal(const std::string& a, const std::string& b) {
  return !a.empty() && g_ascii_strcasecmp(a.c_str(), b.c_str()) == 0;
}

std::string find(const std::string& applicationId, const std::string& windowClass) {
  const auto entries = readAll();
  const std::array matches{
      +[](const Entry& e, const std::string&, const std::string& c) { return equal(e.windowClass, c); },
      +[](const Entry& e, const std::string& id, const std::string&) { return equal(e.file, id); },
      +[](const Entry& e, const std::string& id, const std::string&) { return equal(e.program, id); }};
  for (const auto match : matches) {
    for (const auto& entry : entries) {
      if (match(entry, applicationId, windowClass)) return entry.name;
    }
  }
  return {};
}

}  // namespace

std::string DesktopEntries::name(const std::string& applicationId, const std::string& windowClass) {
  auto key = applicationId + '\n' + windowClass;
  const auto known = known_.find(key);
  if (known != known_.end()) return known->second;
  return known_.emplace(std::move(key), find(applicationId, windowClass)).first->second;
}

}  // namespace quillet
