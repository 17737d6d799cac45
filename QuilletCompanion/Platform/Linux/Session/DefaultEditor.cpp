// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/DefaultEditor.h"

#include <gio/gio.h>

#include "QuilletCompanion/Platform/Linux/Session/GObjectRef.h"
#include "QuilletKit/Base/Log.h"

namespace quillet {

void openDefaultEditor() {
  const GRef<GAppInfo> editor(g_app_info_get_default_for_type("text/plain", FALSE));
  if (editor == nullptr || g_app_info_launch(editor.get(), nullptr, nullptr, GErrorSlot()) == FALSE) {
    Log::standard("insertion", "The desktop names no editor that could be opened");
  }
}

}  // namespace quillet
