// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

#include "QuilletService/RelayHub.h"
#include "QuilletService/Storage/Store.h"

namespace quillet {

/// Who is paired with whom. Changes reach the desktop's socket, and what was stored for a pair goes with it.
class PairDirectory {
 public:
  PairDirectory(Store& store, RelayHub& hub) : store_(store), hub_(hub) {}

  using Writes = std::function<void()>;  ///< What is to be stored together with a change, or not at all.

  /// Stores the pair for good before the desktop is told.
  void add(
      const Pair& pair, const Writes& alongside = [] {});
  /// False, and nothing is stored, if they weren't paired. The desktop is told unless it asked for this itself.
  bool remove(
      const std::string& macId, const std::string& phoneId, bool tellDesktop, const Writes& alongside = [] {});
  /// For those who store more than this in a transaction of their own: the writes alone, and what is told afterwards.
  void erase(const Pair& pair);
  void tellEnd(const Pair& pair, bool tellDesktop);
  bool arePaired(const std::string& macId, const std::string& phoneId) {
    return store_.devices.arePaired(macId, phoneId);
  }

 private:
  Store& store_;
  RelayHub& hub_;
};

}  // namespace quillet
