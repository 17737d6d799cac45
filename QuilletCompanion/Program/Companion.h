// SPDX-License-Identifier: MIT
#pragma once

namespace quillet {

/// The whole of a start, from the command line to the exit code; comes back to start the program anew in its place.
int runCompanion(int argc, char** argv);

}  // namespace quillet
