// SPDX-License-Identifier: MIT
#include "QuilletPhone/PhoneAnswers.h"

#include <boost/json/array.hpp>

#include "QuilletKit/Base/PlainText.h"

namespace quillet {
namespace {

namespace json = boost::json;

json::object describe(const ReadinessPayload& readiness) {
  json::object object{{"state", rawValue(readiness.state)}, {"at", readiness.at}};
  if (readiness.appName) object["appName"] = *readiness.appName;
  if (readiness.fieldLabel) object["fieldLabel"] = *readiness.fieldLabel;
  if (readiness.deviceKind) object["deviceKind"] = *readiness.deviceKind;
  return object;
}

json::object describe(const ResultPayload& result) {
  json::object object{{"utteranceId", result.utteranceId},
                      {"outcome", rawValue(result.outcome)},
                      {"at", result.at},
                      {"signature", result.signature},
                      {"verified", true}};
  if (result.reason) object["reason"] = rawValue(*result.reason);
  if (result.appName) object["appName"] = *result.appName;
  if (result.method) object["method"] = rawValue(*result.method);
  return object;
}

std::string sentence(const ResultPayload& result) {
  std::string text = "Result: " + std::string(rawValue(result.outcome));
  if (result.reason) text += ", " + std::string(rawValue(*result.reason));
  if (result.appName) text += " in " + plainText(*result.appName);
  if (result.method) text += " by " + std::string(rawValue(*result.method));
  return text + " (signature verified)";
}

std::string sentence(const Phone::DeliveryReport& report) {
  const std::string state(rawValue(report.state));
  switch (report.state) {
    case DeliveryTransportState::cancelled:
      return "Delivery: " + state + ". Nothing was inserted.";
    case DeliveryTransportState::expired:
      return "Delivery: " + state + ". The Mac sent no result in time; the text may have gone in.";
    case DeliveryTransportState::unknown:
      return "Delivery: " + state + ". The service knows no such delivery.";
    default:
      return "Delivery: " + state + (report.macOnline ? "" : " (Mac offline)");
  }
}

PhoneExit exitOf(InsertionOutcome outcome, DeliveryWish wish) {
  if (outcome == InsertionOutcome::refused) return PhoneExit::targetRefused;
  if (outcome != InsertionOutcome::inserted) return PhoneExit::uncertain;
  return wish == DeliveryWish::cancelled ? PhoneExit::tooLate : PhoneExit::done;
}

PhoneExit exitOf(DeliveryTransportState state, DeliveryWish wish) {
  switch (state) {
    case DeliveryTransportState::cancelled:
      return wish == DeliveryWish::cancelled ? PhoneExit::done : PhoneExit::cancelled;
    case DeliveryTransportState::expired:
      return PhoneExit::uncertain;  // It may have reached the Mac, whose result then didn't come.
    case DeliveryTransportState::unknown:
      return PhoneExit::serviceRefused;
    default:
      if (wish == DeliveryWish::submitted) return PhoneExit::done;
      return wish == DeliveryWish::cancelled ? PhoneExit::tooLate : PhoneExit::noAnswer;
  }
}

}  // namespace

PhoneAnswer answerOf(const std::vector<PairedMac>& macs) {
  json::array list;
  std::string text;
  for (const auto& mac : macs) {
    list.push_back({{"deviceId", mac.identity.deviceId}, {"name", mac.identity.name}, {"pairedAt", mac.pairedAt}});
    text += (text.empty() ? "" : "\n") + plainText(mac.identity.name) + "  " + mac.identity.deviceId;
  }
  return {{{"macs", std::move(list)}}, text.empty() ? "No Mac is paired." : text};
}

PhoneAnswer answerOf(const std::vector<Phone::MacPresence>& macs) {
  json::array list;
  std::string text;
  for (const auto& mac : macs) {
    json::object item{{"macId", mac.macId}, {"name", mac.name}, {"online", mac.online}};
    std::string line = plainText(mac.name.empty() ? mac.macId : mac.name) + (mac.online ? ": online" : ": offline");
    if (mac.lastSeenAt) item["lastSeenAt"] = *mac.lastSeenAt;
    if (mac.readiness) {
      item["readiness"] = describe(*mac.readiness);
      line += ", " + std::string(rawValue(mac.readiness->state));
      if (mac.readiness->appName) line += " in " + plainText(*mac.readiness->appName);
    }
    list.push_back(std::move(item));
    text += (text.empty() ? "" : "\n") + line;
  }
  return {{{"macs", std::move(list)}}, text.empty() ? "No Mac is paired." : text};
}

PhoneAnswer answerOf(const PrepareResultPayload& prepared) {
  json::object object{{"status", rawValue(prepared.status)}, {"utteranceId", prepared.utteranceId}};
  std::string text = "Target: " + std::string(rawValue(prepared.status));
  if (prepared.reason) {
    object["reason"] = rawValue(*prepared.reason);
    text += ", " + std::string(rawValue(*prepared.reason));
  }
  if (prepared.appName) {
    object["appName"] = *prepared.appName;
    text += " in " + plainText(*prepared.appName);
  }
  if (prepared.fieldLabel) {
    object["fieldLabel"] = *prepared.fieldLabel;
    text += " (" + plainText(*prepared.fieldLabel) + ")";
  }
  if (prepared.expiresAt) object["expiresAt"] = *prepared.expiresAt;
  if (prepared.token) {
    object["token"] = *prepared.token;
    text += "\nToken: " + plainText(*prepared.token) + "\nUtterance: " + plainText(prepared.utteranceId);
  }
  return {std::move(object), text,
          prepared.status == PrepareStatus::ready ? PhoneExit::done : PhoneExit::targetRefused};
}

PhoneAnswer answerOf(const Phone::DeliveryReport& report, const std::string& utteranceId, DeliveryWish wish) {
  PhoneAnswer answer;
  answer.object = {{"state", rawValue(report.state)}, {"macOnline", report.macOnline}, {"utteranceId", utteranceId}};
  if (report.result) answer.object["result"] = describe(*report.result);
  answer.text = report.result ? sentence(*report.result) : sentence(report);
  answer.exit = report.result ? exitOf(report.result->outcome, wish) : exitOf(report.state, wish);
  if (answer.exit == PhoneExit::tooLate) answer.text = "Too late to cancel. " + answer.text;
  if (answer.exit == PhoneExit::uncertain || answer.exit == PhoneExit::noAnswer) {
    answer.text += "\nUtterance: " + utteranceId;
  }
  return answer;
}

}  // namespace quillet
