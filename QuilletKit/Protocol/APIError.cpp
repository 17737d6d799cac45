// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/APIError.h"

#include <utility>

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

}  // namespace quillet
