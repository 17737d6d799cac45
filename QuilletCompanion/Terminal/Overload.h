// SPDX-License-Identifier: MIT
#pragma once

namespace quillet {

/// One function object from several, for std::visit.
template <typename... Cases>
struct Overload : Cases... {
  using Cases::operator()...;
};
template <typename... Cases>
Overload(Cases...) -> Overload<Cases...>;

}  // namespace quillet
