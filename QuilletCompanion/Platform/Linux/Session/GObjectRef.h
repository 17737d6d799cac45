// SPDX-License-Identifier: MIT
#pragma once

#include <glib-object.h>

#include <memory>
#include <optional>
#include <string>

namespace quillet {

struct GObjectUnref {
  void operator()(void* object) const { g_object_unref(object); }
};
/// Owns one reference to a GObject.
template <typename T>
using GRef = std::unique_ptr<T, GObjectUnref>;

template <typename T>
GRef<T> addRef(T* object) {
  return GRef<T>(object != nullptr ? static_cast<T*>(g_object_ref(object)) : nullptr);
}

/// The error out-parameter of one call.
class GErrorSlot {
 public:
  GErrorSlot() = default;
  ~GErrorSlot() { g_clear_error(&error_); }
  GErrorSlot(const GErrorSlot&) = delete;
  GErrorSlot& operator=(const GErrorSlot&) = delete;
  operator GError**() { return &error_; }
  bool failed() const { return error_ != nullptr; }

 private:
  GError* error_ = nullptr;
};

/// Takes over a text that GLib allocated.
inline std::optional<std::string> takeText(char* text) {
  const std::unique_ptr<char, decltype(&g_free)> owned(text, &g_free);
  return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

}  // namespace quillet
