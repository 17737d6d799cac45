// SPDX-License-Identifier: MIT
#pragma once

#include <boost/json/object.hpp>
#include <string>
#include <vector>

#include "QuilletPhone/Phone.h"

namespace quillet {

/// What a command says in the end: one JSON object, or the same as text.
struct PhoneAnswer {
  boost::json::object object;
  std::string text;
  PhoneExit exit = PhoneExit::done;
};

PhoneAnswer answerOf(const std::vector<PairedMac>& macs);
PhoneAnswer answerOf(const std::vector<Phone::MacPresence>& macs);
PhoneAnswer answerOf(const PrepareResultPayload& prepared);

/// What was asked for decides which end of a delivery is a success.
enum class DeliveryWish { submitted, result, cancelled };
PhoneAnswer answerOf(const Phone::DeliveryReport& report, const std::string& utteranceId, DeliveryWish wish);

}  // namespace quillet
