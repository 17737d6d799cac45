// SPDX-License-Identifier: MIT
#pragma once

#include <QMenu>
#include <functional>
#include <memory>

#include "QuilletCompanion/Views/DeskView.h"

namespace quillet {

/// What the icon's other button shows, and where a desktop's tray knows menus only, as GNOME's does, any click.
/// `open` brings the popover up. Refers to `desk`.
std::unique_ptr<QMenu> makeTrayMenu(DeskView& desk, std::function<void()> open);

}  // namespace quillet
