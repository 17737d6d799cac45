// SPDX-License-Identifier: MIT
#include "QuilletKit/APIResponse.h"

#include <boost/beast/http/status.hpp>
#include <string>

namespace quillet {
namespace {

struct Description {
  std::string operator()(const APIError::Server& error) const {
    return error.body.message.empty() ? error.body.code : error.body.message;
  }
  std::string operator()(const APIError::Transport& error) const { return error.message; }
  std::string operator()(const APIError::Decoding& error) const { return error.message; }
};

}  // namespace

APIError::APIError(Detail value) : detail(std::move(value)), text_(std::visit(Description{}, detail)) {}

APIError serverError(int status, std::string_view body) {
  namespace http = boost::beast::http;
  try {
    return APIError(APIError::Server{status, JSONCoding::decode<ErrorWrapper>(body).error});
  } catch (const JSONCoding::DecodingError&) {
    const std::string phrase = http::obsolete_reason(http::int_to_status(static_cast<unsigned>(status)));
    return APIError(APIError::Server{status, {"http_" + std::to_string(status), phrase, status > 499}});
  }
}

}  // namespace quillet
