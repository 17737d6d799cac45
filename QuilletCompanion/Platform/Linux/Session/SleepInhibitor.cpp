// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/SleepInhibitor.h"

#include <unistd.h>

#include <utility>

namespace quillet {
namespace {

/// The descriptor that a reply "(h)" brings, now the caller's; -1 without one.
int descriptorIn(GVariant* reply, GUnixFDList* descriptors) {
  if (reply == nullptr || descriptors == nullptr || !g_variant_is_of_type(reply, G_VARIANT_TYPE("(h)"))) return -1;
  gint32 index = 0;
  g_variant_get(reply, "(h)", &index);
  if (index < 0 || index >= g_unix_fd_list_get_length(descriptors)) return -1;
  return g_unix_fd_list_get(descriptors, index, GErrorSlot());
}

}  // namespace

void SleepInhibitor::take() {
  if (descriptor_ >= 0 || request_) return;
  request_ = std::make_shared<int>();
  bus_.callLater(
      "org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "Inhibit",
      g_variant_new("(ssss)", "sleep", "Quillet", "Tells the phone that this computer goes to sleep", "delay"),
      [this, request = std::weak_ptr(request_)](GVariant* reply, GUnixFDList* descriptors) {
        const int received = descriptorIn(reply, descriptors);
        if (request.expired()) {
          if (received >= 0) close(received);
          return;
        }
        request_.reset();
        descriptor_ = received;
      });
}

void SleepInhibitor::release() {
  request_.reset();
  if (descriptor_ >= 0) close(std::exchange(descriptor_, -1));
}

}  // namespace quillet
