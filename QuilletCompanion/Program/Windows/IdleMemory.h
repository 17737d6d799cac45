// SPDX-License-Identifier: MIT
#pragma once

namespace quillet {

/// Lets go of what the start and closed windows needed and nothing needs now: free memory, and the pages of programs'
/// code, which come back from the file's cache by themselves when they are run again. Takes a millisecond or two.
void giveBackIdleMemory();

}  // namespace quillet
