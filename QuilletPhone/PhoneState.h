// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "QuilletKit/Identity/DeviceIdentity.h"

namespace quillet {

struct PairedMac {
  PeerIdentity identity;
  std::int64_t pairedAt = 0;  ///< Milliseconds since 1970.
};

/// What a phone remembers between runs: "phone.json" in its folder. The keys are in a secret store beside it.
struct PhoneState {
  std::string name;
  std::string service;  ///< URL of the service.
  std::vector<PairedMac> macs;
  /// Where word counts are shared with the Macs: an absolute path, or one from "~/" on.
  std::optional<std::string> wordLedgerFolder;

  /// Absent when there is none yet. Throws std::runtime_error for a file that can't be read.
  static std::optional<PhoneState> load(const std::filesystem::path& folder);
  /// Durable when it returns; throws std::runtime_error.
  void save(const std::filesystem::path& folder) const;
  /// Applies one change to what the folder holds now, which another run may have changed since it was loaded, and saves
  /// it; gives what was saved. Begins with `first` where there is none yet, and throws without it.
  static PhoneState change(const std::filesystem::path& folder, const std::function<void(PhoneState&)>& apply,
                           std::optional<PhoneState> first = std::nullopt);

  /// The one that `wanted` names by id, by the start of an id or by name; the only one when `wanted` is empty. Absent
  /// when there is none or more than one.
  const PairedMac* mac(const std::string& wanted) const;
};

}  // namespace quillet
