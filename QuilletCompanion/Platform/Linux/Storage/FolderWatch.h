// SPDX-License-Identifier: MIT
#pragma once

#include <glib.h>

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>

struct inotify_event;

namespace quillet {

/// Tells when files of a folder appear, change or go, and when the folder itself does, which may not exist at first.
/// Files that begin with a dot are not told of: tools prepare theirs under such names. Changes within a fifth of a
/// second come as one. A network share may hang, and the kernel doesn't tell what other machines do there: it isn't
/// touched, and each minute a change is told, whether there was one or not. What is mounted over a folder later goes
/// unnoticed. Needs the GLib main context, which Qt's event loop serves. Main thread only.
class FolderWatch {
 public:
  /// Calls `changed` from the main loop until destroyed.
  FolderWatch(const std::filesystem::path& folder, std::function<void()> changed);
  ~FolderWatch();
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

 private:
  static gboolean readable(int descriptor, GIOCondition condition, void* self);
  static gboolean settled(void* self);
  bool drain();
  bool matters(const inotify_event& event) const;
  void place();

  std::filesystem::path folder_;
  std::function<void()> changed_;
  /// By the kernel's number: of a folder on the way, the name that is sought in it; absent for the folder itself.
  std::map<int, std::optional<std::string>> watches_;
  int descriptor_;
  guint source_ = 0, settling_ = 0;
};

}  // namespace quillet
