// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/APIResponse.h"

#include <boost/beast/http/status.hpp>
#include <ostream>
#include <string>

namespace quillet {
namespace {

namespace http = boost::beast::http;

std::string phraseFor(int status) {
  const auto known = http::int_to_status(static_cast<unsigned>(status));
  if (known != http::status::unknown) return http::obsolete_reason(known);
  return "The service answered with status " + std::to_string(status) + ".";
}

}  // namespace

APIError serverError(int status, std::string_view body) {
  try {
    return APIError(APIError::Server{status, JSONCoding::decode<ErrorWrapper>(body).error});
  } catch (const JSONCoding::DecodingError&) {
    return APIError(APIError::Server{status, {"http_" + std::to_string(status), phraseFor(status), status > 499}});
  }
}

}  // namespace quillet
