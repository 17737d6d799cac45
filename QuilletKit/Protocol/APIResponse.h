// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/Protocol/APIError.h"

namespace quillet {

/// The error that an answer outside 200 to 299 stands for: the service's own body, or one made up from the status.
APIError serverError(int status, std::string_view body);

/// What an answer of the service means. Throws APIError.
template <class R>
R decodeResponse(int status, std::string_view body) {
  if (status < 200 || status > 299) throw serverError(status, body);
  try {
    return JSONCoding::decode<R>(body);
  } catch (const JSONCoding::DecodingError& error) {
    throw APIError(APIError::Decoding{error.what()});
  }
}

}  // namespace quillet
