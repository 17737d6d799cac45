// SPDX-License-Identifier: MIT
#include <stdexcept>

#include "Fuzz/FuzzInput.h"
#include "QuilletKit/Protocol/RequestSigner.h"

namespace {

void checkResolve(std::string_view path) {
  static const quillet::ServiceURL base{"https", "h", "", "/"};
  try {
    const quillet::ServiceURL url = base.resolve(path);
    quillet::fuzz::require(url.host == base.host && url.target.find_first_of(" \r\n#") == std::string::npos);
  } catch (const std::invalid_argument&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillet;
  const std::string_view text = fuzz::textOf(data, size);
  if (const auto url = ServiceURL::parse(text)) {
    fuzz::require(!url->host.empty() && url->target.starts_with('/'));
    fuzz::require(ServiceURL::parse(url->text()) == url);
    fuzz::require(ServiceURL::parse(url->webSocket().text()).has_value());
  }
  checkResolve(text);
  return 0;
}
