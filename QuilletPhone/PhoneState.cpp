// SPDX-License-Identifier: MIT
#include "QuilletPhone/PhoneState.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "QuilletKit/AtomicFile.h"
#include "QuilletKit/JSONFields.h"
#include "QuilletKit/WireCoding.h"

namespace quillet {

constexpr auto jsonFields(std::type_identity<PairedMac>) {
  using namespace JSONCoding;
  return fields(field("identity", &PairedMac::identity), field("pairedAt", &PairedMac::pairedAt));
}

constexpr auto jsonFields(std::type_identity<PhoneState>) {
  using namespace JSONCoding;
  return fields(field("macs", &PhoneState::macs), field("name", &PhoneState::name),
                field("service", &PhoneState::service), field("wordLedgerFolder", &PhoneState::wordLedgerFolder));
}

std::optional<PhoneState> PhoneState::load(const std::filesystem::path& folder) {
  const auto path = folder / "phone.json";
  if (!std::filesystem::exists(path)) return std::nullopt;
  std::ifstream stream(path, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  try {
    return JSONCoding::decode<PhoneState>(text);
  } catch (const JSONCoding::DecodingError& error) {
    throw std::runtime_error("The phone's file \"" + path.string() + "\" can't be read: " + error.what());
  }
}

void PhoneState::save(const std::filesystem::path& folder) const {
  AtomicFile::write(bytesOf(JSONCoding::encode(*this)), folder / "phone.json");
}

const PairedMac* PhoneState::mac(const std::string& wanted) const {
  const PairedMac* found = nullptr;
  for (const auto& mac : macs) {
    if (mac.identity.deviceId == wanted) return &mac;
    if (!mac.identity.deviceId.starts_with(wanted) && mac.identity.name != wanted) continue;
    if (found != nullptr) return nullptr;
    found = &mac;
  }
  return found;
}

}  // namespace quillet
