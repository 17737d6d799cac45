// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/PairingViewModel.h"

namespace quillet {
namespace {

struct Texts {
  const char *title, *detail, *symbol, *button;
};

Texts textsOf(PairingViewModel::Failure::Kind kind) {
  using Kind = PairingViewModel::Failure::Kind;
  constexpr const char* kAgain = "Nothing was paired. You can start again whenever you like.";
  switch (kind) {
    case Kind::offline:
      return {"Mac needs internet to pair", "Connect this Mac to the internet. This window stays ready.", "wifi.slash",
              "Try again now"};
    case Kind::expired:
      return {"The pairing request expired", "Start again to get a new code.", "clock.badge.exclamationmark",
              "Start again"};
    case Kind::cancelledByPhone:
      return {"Pairing was cancelled on the iPhone", kAgain, "xmark.circle", "Start again"};
    case Kind::cancelledHere:
      return {"Pairing cancelled", kAgain, "xmark.circle", "Start again"};
    case Kind::verificationFailed:
      return {"Pairing could not be verified", "Nothing was paired. Start again with a new code.",
              "exclamationmark.triangle", "Start again"};
    case Kind::server:
      break;
  }
  return {"Pairing is unavailable right now", "", "exclamationmark.triangle", "Start again"};
}

}  // namespace

std::string PairingViewModel::Failure::title() const {
  return textsOf(kind).title;
}
std::string PairingViewModel::Failure::detail() const {
  return kind == Kind::server ? message : textsOf(kind).detail;
}
std::string PairingViewModel::Failure::symbol() const {
  return textsOf(kind).symbol;
}
std::string PairingViewModel::Failure::button() const {
  return textsOf(kind).button;
}

}  // namespace quillet
