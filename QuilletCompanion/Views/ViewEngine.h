// SPDX-License-Identifier: MIT
#pragma once

#include <QQmlEngine>
#include <memory>

#include "QuilletCompanion/Views/Look.h"

namespace quillet {

/// Makes QML types and symbols known, and draws in software. To be called once, before the first engine.
void prepareViews(Look& look);

/// An engine with what every view needs. One lives as long as there is a window to show.
std::unique_ptr<QQmlEngine> makeViewEngine();

}  // namespace quillet
