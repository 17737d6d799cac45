// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "QuilletCompanion/Relay/RelayMessageHandler.h"

namespace quillet::test {

/// A handler whose owner holds nothing else.
template <typename... Arguments>
std::shared_ptr<RelayMessageHandler> makeHandler(Arguments&&... arguments) {
  auto owner = std::make_shared<std::optional<RelayMessageHandler>>();
  owner->emplace(std::weak_ptr<const void>(owner), std::forward<Arguments>(arguments)...);
  return {owner, &**owner};
}

}  // namespace quillet::test
