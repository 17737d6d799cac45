// SPDX-License-Identifier: MIT
#pragma once

namespace quillet {

/// Keys and texts pass through this process: from now on no other of the user's may read its memory, nor is it ever
/// written to a disk as a whole. To be called first of all. What is freed is wiped anyway, by whoever it was held.
void keepMemoryPrivate();

}  // namespace quillet
