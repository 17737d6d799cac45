// SPDX-License-Identifier: MIT
#include "QuilletSpeech/WyomingEvent.h"

#include "Fuzz/FuzzInput.h"
#include "QuilletKit/JSON/JSONReader.h"

namespace {

/// Any exception but the documented one ends the run.
template <typename Work>
void mayRefuse(Work work) {
  try {
    work();
  } catch (const quillet::JSONCoding::DecodingError&) {
  }
}

}  // namespace

/// A line, and what stands behind it as its data.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillet;
  const std::string_view text = fuzz::textOf(data, size);
  const std::size_t end = text.find('\n');
  WyomingEvent event;
  if (end != std::string_view::npos) event.moreData = text.substr(end + 1);
  mayRefuse([&] {
    const auto head = WyomingEvent::Head::parse(text.substr(0, end));
    event.type = head.type;
    event.data = head.data;
    // What was cut out of the line is JSON by itself.
    if (!head.data.empty()) JSONReader::parse(head.data, [](const JSONReader&) {});
  });
  mayRefuse([&] { event.text("text"); });
  mayRefuse([&] { WyomingInfo::of(event); });
  return 0;
}
