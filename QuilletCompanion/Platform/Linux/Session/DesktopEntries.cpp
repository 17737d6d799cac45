// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/DesktopEntries.h"

#include <gio/gdesktopappinfo.h>

#include <array>
#include <string_view>
#include <vector>

namespace quillet {
namespace {

struct Entry {
  std::string file, name, windowClass, program;
};

std::string textOf(const char* text) {
  return text != nullptr ? text : "";
}

std::string stemOf(const std::string& id) {
  constexpr std::string_view extension = ".desktop";
  return id.ends_with(extension) ? id.substr(0, id.size() - extension.size()) : id;
}

Entry entryOf(GAppInfo* info) {
  const std::string program = textOf(g_app_info_get_executable(info));
  return {.file = stemOf(textOf(g_app_info_get_id(info))),
          .name = textOf(g_app_info_get_name(info)),
          .windowClass = textOf(g_desktop_app_info_get_startup_wm_class(G_DESKTOP_APP_INFO(info))),
          .program = program.substr(program.rfind('/') + 1)};
}

std::vector<Entry> readAll() {
  std::vector<Entry> entries;
  GList* const all = g_app_info_get_all();
  for (const GList* info = all; info != nullptr; info = info->next) {
    entries.push_back(entryOf(static_cast<GAppInfo*>(info->data)));
  }
  g_list_free_full(all, &g_object_unref);
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
