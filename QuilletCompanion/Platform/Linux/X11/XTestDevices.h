// SPDX-License-Identifier: MIT
#pragma once

// Xlib's own headers define macros like None and Bool; only sources include them.
struct _XDisplay;

namespace quillet {

/// Whether a device of XInput is one that the display keeps for XTEST. Errors of the display are the caller's to trap.
bool isXTestDevice(_XDisplay* display, int device);

}  // namespace quillet
