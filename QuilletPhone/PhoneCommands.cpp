// SPDX-License-Identifier: MIT
#include "QuilletPhone/PhoneCommands.h"

#include <boost/asio/io_context.hpp>
#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>
#include <charconv>
#include <istream>
#include <ostream>

#include "QuilletKit/FolderLedgerStorage.h"
#include "QuilletKit/HTTPSession.h"
#include "QuilletKit/Unicode.h"
#include "QuilletPhone/PhoneWordCount.h"

namespace quillet {
namespace {

namespace json = boost::json;

/// One run of the program: what a command needs to do its work and to say how it went.
class PhoneRun {
 public:
  PhoneRun(const PhoneArguments& arguments, std::filesystem::path folder, std::istream& in, std::ostream& out,
           std::ostream& err)
      : arguments_(arguments),
        folder_(std::move(folder)),
        in_(in),
        out_(out),
        err_(err),
        session_(context_.get_executor()),
        time_(systemTime(context_.get_executor())) {}

  PhoneExit run() {
    if (arguments_.command == "init") return init();
    const auto state = PhoneState::load(folder_);
    if (!state) throw PhoneError(PhoneExit::notReady, "This phone isn't set up. Run \"quillet-phone init\" first.");
    openPhone(*state);
    if (arguments_.command == "macs") return macs();
    if (arguments_.command == "pair") return pair();
    if (arguments_.command == "presence") return presence();
    if (arguments_.command == "say") return say();
    if (arguments_.command == "prepare") return prepare();
    if (arguments_.command == "deliver") return deliver();
    if (arguments_.command == "wait") return show(await(phone_->wait(mac(), operand(0, "ID"), waitLimit())));
    if (arguments_.command == "cancel") return show(await(phone_->cancelDelivery(mac(), operand(0, "ID"))));
    if (arguments_.command == "unpair" || arguments_.command == "revoke") return unpair();
    if (arguments_.command == "rename") return rename();
    if (arguments_.command == "words") return words();
    if (arguments_.command == "delete") return deleteData();
    if (arguments_.command == "reset") return reset();
    throw PhoneError(PhoneExit::usage, "Unknown command \"" + arguments_.command + "\".");
  }

 private:
  void await(Awaitable<void> operation) {
    std::exception_ptr error;
    boost::asio::co_spawn(context_, std::move(operation), [&](std::exception_ptr e) { error = e; });
    context_.restart();
    context_.run();
    if (error) std::rethrow_exception(error);
  }
  template <typename T>
  T await(Awaitable<T> operation) {
    std::optional<T> result;
    await(store(std::move(operation), result));
    return std::move(*result);
  }
  template <typename T>
  static Awaitable<void> store(Awaitable<T> operation, std::optional<T>& result) {
    result.emplace(co_await std::move(operation));
  }

  void openPhone(const PhoneState& state) {
    phone_.emplace(state, folder_, Phone::loadIdentity(folder_), session_, time_);
  }

  void say(json::object object, const std::string& text) {
    out_ << (arguments_.json ? json::serialize(object) : text) << std::endl;
  }

  std::string operand(std::size_t index, const std::string& what) const {
    if (index >= arguments_.operands.size()) throw PhoneError(PhoneExit::usage, "The " + what + " is missing.");
    return arguments_.operands[index];
  }

  Duration waitLimit() const {
    const std::string text = arguments_.option("seconds", "60");
    int seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() || seconds < 0) {
      throw PhoneError(PhoneExit::usage, "\"" + text + "\" is not a number of seconds.");
    }
    return std::chrono::seconds(seconds);
  }

  PeerIdentity mac() const {
    const auto* found = phone_->state().mac(arguments_.option("mac"));
    if (found != nullptr) return found->identity;
    if (phone_->state().macs.empty()) throw PhoneError(PhoneExit::notReady, "No Mac is paired.");
    throw PhoneError(PhoneExit::notReady, "Which Mac? Name one with --mac.");
  }

  PhoneExit init() {
    auto state = PhoneState::load(folder_).value_or(PhoneState{.name = "Phone", .service = "http://127.0.0.1:8787"});
    state.name = arguments_.option("name", state.name);
    state.service = arguments_.option("service", state.service);
    if (arguments_.has("words")) state.wordLedgerFolder = wordFolder(arguments_.option("words"));
    openPhone(state);
    await(phone_->registerDevice());
    state.save(folder_);
    say({{"deviceId", phone_->deviceId()}, {"name", state.name}, {"service", state.service}},
        "Registered with " + state.service + " as " + phone_->deviceId());
    return PhoneExit::done;
  }

  PhoneExit macs() {
    json::array list;
    std::string text;
    for (const auto& mac : phone_->state().macs) {
      list.push_back({{"deviceId", mac.identity.deviceId}, {"name", mac.identity.name}, {"pairedAt", mac.pairedAt}});
      text += (text.empty() ? "" : "\n") + mac.identity.name + "  " + mac.identity.deviceId;
    }
    say({{"macs", std::move(list)}}, text.empty() ? "No Mac is paired." : text);
    return PhoneExit::done;
  }

  bool wordsAgree(const Phone::Claim& claim) {
    const auto words = claim.crypto.verificationWords();
    if (arguments_.json) {
      out_ << json::serialize(
                  json::object{{"macName", claim.macName}, {"words", json::array(words.begin(), words.end())}})
           << std::endl;
    } else {
      out_ << claim.macName << "\nVerification words: " << claim.crypto.verificationPhrase() << std::endl;
    }
    return sure("Does the Mac show the same four words?");
  }

  PhoneExit pair() {
    auto claim = await(phone_->claim(operand(0, "code or invitation")));
    if (!wordsAgree(claim)) {
      await(phone_->cancelPairing(claim.sessionId));
      throw PhoneError(PhoneExit::pairingFailed, "Pairing cancelled. Nothing was paired.");
    }
    const PeerIdentity mac = await(phone_->confirm(std::move(claim)));
    say({{"paired", true}, {"macId", mac.deviceId}, {"name", mac.name}}, "Paired with " + mac.name);
    return PhoneExit::done;
  }

  PhoneExit presence() {
    json::array list;
    std::string text;
    for (const auto& mac : await(phone_->presence())) {
      json::object item{{"macId", mac.macId}, {"name", mac.name}, {"online", mac.online}};
      std::string line = (mac.name.empty() ? mac.macId : mac.name) + (mac.online ? ": online" : ": offline");
      if (mac.lastSeenAt) item["lastSeenAt"] = *mac.lastSeenAt;
      if (mac.readiness) {
        json::object readiness{{"state", rawValue(mac.readiness->state)}, {"at", mac.readiness->at}};
        line += ", " + std::string(rawValue(mac.readiness->state));
        if (mac.readiness->appName) {
          readiness["appName"] = *mac.readiness->appName;
          line += " in " + *mac.readiness->appName;
        }
        if (mac.readiness->fieldLabel) readiness["fieldLabel"] = *mac.readiness->fieldLabel;
        if (mac.readiness->deviceKind) readiness["deviceKind"] = *mac.readiness->deviceKind;
        item["readiness"] = std::move(readiness);
      }
      list.push_back(std::move(item));
      text += (text.empty() ? "" : "\n") + line;
    }
    say({{"macs", std::move(list)}}, text.empty() ? "No Mac is paired." : text);
    return PhoneExit::done;
  }

  PhoneExit showPrepared(const PrepareResultPayload& prepared) {
    json::object object{{"status", rawValue(prepared.status)}, {"utteranceId", prepared.utteranceId}};
    std::string text = "Target: " + std::string(rawValue(prepared.status));
    if (prepared.reason) {
      object["reason"] = rawValue(*prepared.reason);
      text += ", " + std::string(rawValue(*prepared.reason));
    }
    if (prepared.appName) {
      object["appName"] = *prepared.appName;
      text += " in " + *prepared.appName;
    }
    if (prepared.fieldLabel) {
      object["fieldLabel"] = *prepared.fieldLabel;
      text += " (" + *prepared.fieldLabel + ")";
    }
    if (prepared.expiresAt) object["expiresAt"] = *prepared.expiresAt;
    if (prepared.token) {
      object["token"] = *prepared.token;
      text += "\nToken: " + *prepared.token + "\nUtterance: " + prepared.utteranceId;
    }
    say(std::move(object), text);
    return prepared.status == PrepareStatus::ready ? PhoneExit::done : PhoneExit::targetRefused;
  }

  PhoneExit prepare() {
    return showPrepared(await(phone_->prepare(mac(), arguments_.option("utterance", Phone::makeId()))));
  }

  PhoneExit deliver() {
    const std::string utterance = arguments_.option("utterance");
    if (utterance.empty()) throw PhoneError(PhoneExit::usage, "\"deliver\" needs --utterance ID.");
    const std::string token = operand(0, "token");
    return show(await(phone_->deliver(mac(), utterance, token, operand(1, "text"))), false);
  }

  PhoneExit say() {
    const std::string text = operand(0, "text");
    const PeerIdentity target = mac();
    const auto prepared = await(phone_->prepare(target, Phone::makeId()));
    if (prepared.status != PrepareStatus::ready || !prepared.token) return showPrepared(prepared);
    const auto report = await(phone_->deliver(target, prepared.utteranceId, *prepared.token, text));
    const auto last = report.result ? report : await(phone_->wait(target, prepared.utteranceId, waitLimit()));
    if (last.result && last.result->outcome == InsertionOutcome::inserted) {
      recordInsertedWords(phone_->state(), folder_, text);
    }
    return show(last);
  }

  static std::string wordFolder(const std::string& setting) {
    if (FolderLedgerStorage::folderFrom(setting)) return setting;
    throw PhoneError(PhoneExit::usage, "\"" + setting + "\" is not an absolute path.");
  }

  PhoneExit rename() {
    constexpr std::size_t kLongestName = 64;
    const std::string name(Unicode::cutToClusters(Unicode::trim(operand(0, "name")), kLongestName));
    if (name.empty() || !Unicode::isValidUTF8(name)) throw PhoneError(PhoneExit::usage, "That is no name.");
    await(phone_->rename(name));
    say({{"name", name}}, "This phone is called " + name);
    return PhoneExit::done;
  }

  PhoneExit words() {
    const WordStatsSummary summary = wordSummary(phone_->state(), folder_);
    say({{"today", summary.today}, {"week", summary.week}, {"month", summary.month}, {"total", summary.total}},
        "Today " + std::to_string(summary.today) + ", week " + std::to_string(summary.week) + ", month " +
            std::to_string(summary.month) + ", total " + std::to_string(summary.total));
    return PhoneExit::done;
  }

  bool sure(const std::string& question) {
    if (arguments_.has("yes")) return true;
    err_ << question << " [y/N] " << std::flush;
    std::string reply;
    std::getline(in_, reply);
    return reply == "y" || reply == "Y" || reply == "yes";
  }

  PhoneExit deleteData() {
    if (!sure("Delete this phone at the service? All Macs must pair with it again.")) return unchanged();
    await(phone_->deleteCloudData());
    say({{"deleted", true}}, "Deleted. \"quillet-phone init\" begins as a new phone.");
    return PhoneExit::done;
  }

  PhoneExit reset() {
    if (!sure("Forget this phone's keys and pairs? The service is not told; \"delete\" does both.")) return unchanged();
    phone_->reset();
    say({{"reset", true}}, "Forgotten. \"quillet-phone init\" begins as a new phone.");
    return PhoneExit::done;
  }

  PhoneExit unchanged() {
    say({{"changed", false}}, "Nothing was changed.");
    return PhoneExit::done;
  }

  PhoneExit unpair() {
    const PeerIdentity target = mac();
    await(phone_->unpair(target));
    say({{"unpaired", target.deviceId}}, "No longer paired with " + target.name);
    return PhoneExit::done;
  }

  /// With `awaited`, a delivery without a result is one that ran out of time.
  PhoneExit show(const Phone::DeliveryReport& report, bool awaited = true) {
    json::object object{{"state", rawValue(report.state)}, {"macOnline", report.macOnline}};
    std::string text = "Delivery: " + std::string(rawValue(report.state)) + (report.macOnline ? "" : " (Mac offline)");
    if (!report.result) {
      say(std::move(object), text);
      if (report.state == DeliveryTransportState::cancelled && arguments_.command == "cancel") return PhoneExit::done;
      return awaited ? PhoneExit::noAnswer : PhoneExit::done;
    }
    const ResultPayload& result = *report.result;
    object["result"] = describe(result);
    text = "Result: " + std::string(rawValue(result.outcome));
    if (result.reason) text += ", " + std::string(rawValue(*result.reason));
    if (result.appName) text += " in " + *result.appName;
    if (result.method) text += " by " + std::string(rawValue(*result.method));
    say(std::move(object), text + " (signature verified)");
    if (result.outcome == InsertionOutcome::inserted) return PhoneExit::done;
    return result.outcome == InsertionOutcome::refused ? PhoneExit::targetRefused : PhoneExit::uncertain;
  }

  static json::object describe(const ResultPayload& result) {
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

  const PhoneArguments& arguments_;
  std::filesystem::path folder_;
  std::istream& in_;
  std::ostream& out_;
  std::ostream& err_;
  boost::asio::io_context context_;
  HTTPSession session_;
  TimeSource time_;
  std::optional<Phone> phone_;
};

PhoneExit fail(const PhoneArguments& arguments, std::ostream& out, std::ostream& err, PhoneExit exit,
               const std::string& message) {
  if (arguments.json) {
    out << json::serialize(json::object{{"error", message}, {"exit", static_cast<int>(exit)}}) << std::endl;
  } else {
    err << "quillet-phone: " << message << std::endl;
  }
  return exit;
}

}  // namespace

PhoneExit runPhone(const PhoneArguments& arguments, const std::filesystem::path& defaultFolder, std::istream& in,
                   std::ostream& out, std::ostream& err) {
  const std::filesystem::path folder = arguments.has("state") ? arguments.option("state") : defaultFolder.string();
  try {
    return PhoneRun(arguments, folder, in, out, err).run();
  } catch (const PhoneError& error) {
    return fail(arguments, out, err, error.exit, error.what());
  } catch (const std::exception& error) {
    return fail(arguments, out, err, PhoneExit::failure, error.what());
  }
}

}  // namespace quillet
