// SPDX-License-Identifier: MIT
#include "QuilletPhone/PhoneState.h"

#include <stdexcept>

#include "QuilletKit/Identity/DeviceCalled.h"
#include "QuilletKit/JSON/JSONFields.h"
#include "QuilletKit/Protocol/WireCoding.h"
#include "QuilletPhone/PhoneFolder.h"

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
  constexpr const char* kAdvice =
      " \"quillet-phone reset\" forgets this phone here; \"delete --service URL\" also tells the service.";
  const auto path = folder / "phone.json";
  try {
    const auto text = readIfThere(path);
    return text ? std::optional(JSONCoding::decode<PhoneState>(*text)) : std::nullopt;
  } catch (const JSONCoding::DecodingError& error) {
    throw std::runtime_error("The phone's file \"" + path.string() + "\" is damaged: " + error.what() + "." + kAdvice);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(error.what() + std::string(kAdvice));
  }
}

void PhoneState::save(const std::filesystem::path& folder) const {
  writeDurably(folder / "phone.json", JSONCoding::encode(*this));
}

PhoneState PhoneState::change(const std::filesystem::path& folder, const std::function<void(PhoneState&)>& apply,
                              std::optional<PhoneState> first) {
  const File turn = takeTurn(folder);
  auto state = load(folder);
  if (!state) state = std::move(first);
  if (!state) throw std::runtime_error("This phone isn't set up any more.");
  apply(*state);
  state->save(folder);
  return *std::move(state);
}

const PairedMac* PhoneState::mac(const std::string& wanted) const {
  return deviceCalled(macs, wanted);
}

}  // namespace quillet
