// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Storage/FolderWatch.h"

#include <glib-unix.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <utility>

#include "QuilletCompanion/Platform/Linux/Storage/NetworkMounts.h"

namespace quillet {
namespace {

namespace fs = std::filesystem;
constexpr guint kSettleMs = 200;
constexpr guint kNetworkSeconds = 60;
/// The folder itself goes or is replaced; seen of every folder on the way to it.
constexpr std::uint32_t kGoes = IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
constexpr std::uint32_t kArrives = IN_CREATE | IN_MOVED_TO;
constexpr std::uint32_t kChanges = kArrives | IN_CLOSE_WRITE | IN_MOVED_FROM | IN_DELETE;

}  // namespace

FolderWatch::FolderWatch(const fs::path& folder, std::function<void()> changed)
    : folder_(folder.lexically_normal()), changed_(std::move(changed)), descriptor_(-1) {
  if (folder_.filename().empty()) folder_ = folder_.parent_path();
  if (isOnNetwork(folder_, mounts())) {
    const auto look = [](void* self) -> gboolean {
      static_cast<FolderWatch*>(self)->changed_();
      return G_SOURCE_CONTINUE;
    };
    source_ = g_timeout_add_seconds(kNetworkSeconds, look, this);
    return;
  }
  descriptor_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (descriptor_ < 0) return;
  place();
  source_ = g_unix_fd_add(descriptor_, G_IO_IN, readable, this);
}

FolderWatch::~FolderWatch() {
  if (settling_ != 0) g_source_remove(settling_);
  if (source_ != 0) g_source_remove(source_);
  if (descriptor_ >= 0) close(descriptor_);
}

gboolean FolderWatch::readable(int, GIOCondition, void* data) {
  auto* const self = static_cast<FolderWatch*>(data);
  if (self->drain() && self->settling_ == 0) self->settling_ = g_timeout_add(kSettleMs, settled, self);
  return G_SOURCE_CONTINUE;
}

gboolean FolderWatch::settled(void* data) {
  auto* const self = static_cast<FolderWatch*>(data);
  self->settling_ = 0;
  self->place();
  self->changed_();
  return G_SOURCE_REMOVE;
}

/// True if anything in it matters.
bool FolderWatch::drain() {
  alignas(inotify_event) std::array<char, 16384> buffer;
  bool any = false;
  for (ssize_t size = 0; (size = read(descriptor_, buffer.data(), buffer.size())) > 0;) {
    for (const char* at = buffer.data(); at < buffer.data() + size;) {
      const auto* const event = reinterpret_cast<const inotify_event*>(at);
      any = any || matters(*event);
      at += sizeof *event + event->len;
    }
  }
  return any;
}

bool FolderWatch::matters(const inotify_event& event) const {
  if ((event.mask & IN_Q_OVERFLOW) != 0) return true;
  const auto watch = watches_.find(event.wd);
  if (watch == watches_.end()) return false;
  if (event.len == 0) return true;
  return watch->second ? *watch->second == event.name : event.name[0] != '.';
}

/// Watches the folder or, without it, the nearest one above for what arrives; and all above for being moved away. Walks
/// down from the root, so that what arrives meanwhile is seen.
void FolderWatch::place() {
  std::map<int, std::optional<std::string>> placed;
  fs::path at;
  auto above = placed.end();
  for (const auto& part : folder_) {
    if (above != placed.end()) above->second = part.native();
    const int watch = inotify_add_watch(descriptor_, (at / part).c_str(), kGoes | kArrives);
    if (watch < 0) break;
    if (above != placed.end()) inotify_add_watch(descriptor_, at.c_str(), kGoes);
    at /= part;
    above = placed.insert_or_assign(watch, std::nullopt).first;
  }
  if (at == folder_) inotify_add_watch(descriptor_, at.c_str(), kGoes | kChanges);
  for (const auto& [watch, sought] : std::exchange(watches_, placed)) {
    if (!placed.contains(watch)) inotify_rm_watch(descriptor_, watch);
  }
}

}  // namespace quillet
