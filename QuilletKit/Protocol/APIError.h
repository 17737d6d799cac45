// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <string>
#include <variant>

#include "QuilletKit/Protocol/ServiceModels.h"

namespace quillet {

struct APIError : std::exception {
  struct Server {
    int status = 0;
    APIErrorBody body;
    bool operator==(const Server&) const = default;
  };
  struct Transport {
    std::string message;
    bool operator==(const Transport&) const = default;
  };
  struct Decoding {
    std::string message;
    bool operator==(const Decoding&) const = default;
  };
  using Detail = std::variant<Server, Transport, Decoding>;

  explicit APIError(Detail detail);
  const char* what() const noexcept override { return text_.c_str(); }
  const Server* server() const { return std::get_if<Server>(&detail); }
  bool operator==(const APIError& other) const { return detail == other.detail; }

  Detail detail;

 private:
  std::string text_;
};

}  // namespace quillet
