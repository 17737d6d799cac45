// SPDX-License-Identifier: MIT
#pragma once

class QCoreApplication;

namespace quillet {

/// Texts in the user's language, where there is a catalogue for it, else in English as it is true on this system.
void loadTranslations(QCoreApplication& application);

}  // namespace quillet
