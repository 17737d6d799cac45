// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/Identifier.h"

#include <algorithm>

namespace quillet {
namespace {

constexpr std::size_t kLongest = 128;
constexpr std::size_t kDevice = 32;

bool staysInPath(char c) {
  return c > ' ' && c <= '~' && std::string_view("?#%/\\|").find(c) == std::string_view::npos;
}

}  // namespace

bool Identifier::canStandInPath(std::string_view id) {
  return !id.empty() && id.size() <= kLongest && id != "." && id != ".." &&
         std::all_of(id.begin(), id.end(), staysInPath);
}

bool Identifier::isDevice(std::string_view id) {
  return id.size() == kDevice && id.find_first_not_of("0123456789abcdef") == id.npos;
}

}  // namespace quillet
