// SPDX-License-Identifier: MIT
#include "Fuzz/ScratchFile.h"
#include "QuilletPhone/PhoneState.h"

/// A phone's file is refused as documented, or can be saved and loaded again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillet;
  const fuzz::ScratchFile file("phone.json", data, size);
  std::optional<PhoneState> state;
  try {
    state = PhoneState::load(file.folder());
  } catch (const std::runtime_error&) {
    return 0;
  }
  state->mac("");
  state->mac(state->name);
  state->save(file.folder());
  const std::string written = file.text();
  PhoneState::load(file.folder())->save(file.folder());
  fuzz::require(file.text() == written);
  return 0;
}
