// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillet {

/// Follows a typed text through looks at a field that shows only the surroundings of its caret, as web editors do.
/// Each look goes on from what earlier ones have seen, so that in the end every unit was seen in its place.
class TypedTrail {
 public:
  /// `before`: all that stood before the caret, or the selection, before `text` was typed.
  TypedTrail(std::u16string_view before, std::u16string_view text);

  /// `shown`: what stands before the caret now, or the last of it. False if that fits nowhere in the text.
  bool look(std::u16string_view shown);
  bool complete() const { return seen_ == stream_.size(); }

 private:
  bool fromStart_;         ///< Whether `stream_` begins where the field does.
  std::u16string stream_;  ///< The last of what stood there before, and the text.
  std::size_t seen_;       ///< Of `stream_`.
};

}  // namespace quillet
