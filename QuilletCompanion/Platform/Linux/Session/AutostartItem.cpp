// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/AutostartItem.h"

#include <sstream>
#include <string_view>
#include <system_error>

#include "QuilletKit/Base/AtomicFile.h"
#include "QuilletKit/Base/File.h"
#include "QuilletKit/Base/Log.h"

namespace quillet {
namespace {

/// A word of an "Exec" line: in quotes, where some characters take a backslash, all backslashes doubled once more for
/// the file, and "%" doubled.
std::string execWord(std::string_view word) {
  std::string quoted = "\"";
  for (const char c : word) {
    if (c == '"' || c == '`' || c == '$') quoted += "\\\\";
    if (c == '\\') quoted += "\\\\\\";
    if (c == '%') quoted += '%';
    quoted += c;
  }
  return quoted + "\"";
}

}  // namespace

AutostartItem::AutostartItem(const std::optional<std::filesystem::path>& configFolder, const std::string& name,
                             std::vector<std::string> command)
    : command_(std::move(command)) {
  if (configFolder) file_ = *configFolder / "autostart" / (name + ".desktop");
}

std::string AutostartItem::entry() const {
  std::string exec;
  for (const auto& word : command_) exec += (exec.empty() ? "" : " ") + execWord(word);
  return "[Desktop Entry]\nType=Application\nName=Quillet\nComment=Speak on your phone, type on this computer\nExec=" +
         exec + "\nTerminal=false\nX-GNOME-Autostart-enabled=true\n";
}

bool AutostartItem::isEnabled() {
  if (!file_) return false;
  std::istringstream stream(File::read(*file_).value.value_or(""));
  bool isEntry = false;
  for (std::string line; std::getline(stream, line);) {
    if (line == "[Desktop Entry]") isEntry = true;
    if (line == "Hidden=true" || line == "X-GNOME-Autostart-enabled=false") return false;
  }
  return isEntry;
}

void AutostartItem::setEnabled(bool enabled) {
  if (!file_) return;
  try {
    if (enabled) {
      AtomicFile::write(bytesOf(entry()), *file_);
    } else {
      std::filesystem::remove(*file_);
    }
  } catch (const std::exception&) {
    Log::standard("relay", "Could not change the autostart entry");
  }
}

}  // namespace quillet
