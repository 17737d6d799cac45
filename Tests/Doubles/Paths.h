// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace quillet::test {

/// A file of the repository that these tests were built from, by its path in there.
std::string sourceFile(const std::string& path);
/// A program that was built beside these tests, by its name.
std::string builtProgram(const std::string& name);

}  // namespace quillet::test
