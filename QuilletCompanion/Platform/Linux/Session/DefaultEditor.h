// SPDX-License-Identifier: MIT
#pragma once

namespace quillet {

/// Opens the user's program for plain text with an empty document, without waiting for it. Nothing happens where there
/// is none.
void openDefaultEditor();

}  // namespace quillet
