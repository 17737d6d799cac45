// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/SoundSettings.h"

#include <glib.h>

#include <array>
#include <cstdlib>
#include <string>

#include "QuilletCompanion/Platform/Linux/Session/GObjectRef.h"
#include "QuilletKit/Base/Log.h"

namespace quillet {
namespace {

struct Page {
  const char* desktop;  ///< The only one on which it opens; empty for any.
  const char* program;
  const char* argument = nullptr;
};
/// A desktop's own page first.
constexpr std::array pages{Page{"GNOME", "gnome-control-center", "sound"},
                           Page{"KDE", "systemsettings", "kcm_pulseaudio"},
                           Page{"KDE", "systemsettings5", "kcm_pulseaudio"},
                           Page{"X-Cinnamon", "cinnamon-settings", "sound"},
                           Page{"MATE", "mate-volume-control"},
                           Page{"", "pavucontrol"},
                           Page{"", "pavucontrol-qt"}};

/// The desktop's names stand between colons.
bool isDesktop(const std::string& wanted) {
  const char* names = std::getenv("XDG_CURRENT_DESKTOP");
  return names != nullptr && (':' + std::string(names) + ':').find(':' + wanted + ':') != std::string::npos;
}

bool isInstalled(const char* program) {
  return takeText(g_find_program_in_path(program)).has_value();
}

void open(const Page& page) {
  std::array command{const_cast<char*>(page.program), const_cast<char*>(page.argument), static_cast<char*>(nullptr)};
  constexpr auto flags =
      static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL);
  if (g_spawn_async(nullptr, command.data(), nullptr, flags, nullptr, nullptr, nullptr, GErrorSlot()) == FALSE) {
    Log::standard("dictation", "The sound settings could not be opened");
  }
}

}  // namespace

std::function<void()> soundSettings() {
  for (const auto& page : pages) {
    if ((*page.desktop == '\0' || isDesktop(page.desktop)) && isInstalled(page.program)) return [&page] { open(page); };
  }
  return {};
}

}  // namespace quillet
