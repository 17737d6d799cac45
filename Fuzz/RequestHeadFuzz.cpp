// SPDX-License-Identifier: MIT
#include <algorithm>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <optional>

#include "Fuzz/FuzzInput.h"
#include "QuilletService/Transport/RequestHead.h"

namespace {

using namespace quillet;
namespace http = boost::beast::http;

/// The head's length where its bytes arrive in pieces of `step`; 0 if it doesn't end, absent if it is refused.
std::optional<std::size_t> lengthIn(std::string_view bytes, std::size_t step) {
  std::size_t checked = 0, length = 0;
  try {
    for (std::size_t come = std::min(step, bytes.size()); length == 0; come = std::min(come + step, bytes.size())) {
      length = RequestHead::length(bytes.substr(0, come), checked);
      if (come == bytes.size()) break;
    }
    return length;
  } catch (const ServiceError&) {
    return std::nullopt;
  }
}

bool isStrict(const RequestHead::Header& header) {
  try {
    RequestHead::requireStrict(header);
    return true;
  } catch (const ServiceError&) {
    return false;
  }
}

/// What the parser makes of a head must be what we took it for.
void checkParsed(std::string_view head) {
  http::request_parser<http::string_body> parser;
  boost::system::error_code error;
  const std::size_t taken = parser.put(boost::asio::buffer(head), error);
  if (error || !parser.is_header_done()) return;
  fuzz::require(taken == head.size());
  const auto& header = parser.get();
  const std::string_view target = header.target(), path = RequestHead::pathWithQuery(target);
  fuzz::require(path == "/" || target.ends_with(path));
  RequestHead::isWebSocketKey(header[http::field::sec_websocket_key]);
  if (!isStrict(header)) return;
  fuzz::require(header.count(http::field::host) <= 1);
  fuzz::require(header.count(http::field::transfer_encoding) == 0 || (parser.chunked() && !parser.content_length()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view bytes = fuzz::textOf(data, size);
  bytes.remove_prefix(RequestHead::emptyLines(bytes));
  const auto length = lengthIn(bytes, std::max<std::size_t>(bytes.size(), 1));
  for (const std::size_t step : {1U, 7U}) fuzz::require(lengthIn(bytes, step) == length);
  if (length.value_or(0) > 0) checkParsed(bytes.substr(0, *length));
  return 0;
}
