// SPDX-License-Identifier: MIT
#include "Fuzz/FuzzInput.h"
#include "QuilletKit/Protocol/ServiceModels.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillet;
  try {
    const TranscribeBody::Parsed parsed = TranscribeBody::parse({data, size});
    fuzz::require(parsed.audio.data() + parsed.audio.size() == data + size);
    const std::string built = TranscribeBody::build(parsed.meta, parsed.audio);
    fuzz::require(TranscribeBody::parse(bytesOf(built)).audio.size() == parsed.audio.size());
  } catch (const JSONCoding::DecodingError&) {
  }
  return 0;
}
