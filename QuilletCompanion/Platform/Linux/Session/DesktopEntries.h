// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>

namespace quillet {

/// The display names of installed applications, from their desktop entries. Each application is looked up once.
class DesktopEntries {
 public:
  /// By window class, then by the entry's own name, then by the program that it starts. Empty if there is none.
  std::string name(const std::string& applicationId, const std::string& windowClass);

 private:
  std::map<std::string, std::string> known_;
};

}  // namespace quillet
