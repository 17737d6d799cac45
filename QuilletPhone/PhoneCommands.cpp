// SPDX-License-Identifier: MIT
#include "QuilletPhone/PhoneCommands.h"

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>
#include <istream>
#include <iterator>
#include <ostream>

#include "QuilletKit/Base/PlainText.h"
#include "QuilletKit/Base/Unicode.h"
#include "QuilletKit/Network/HTTPSession.h"
#include "QuilletKit/Protocol/Identifier.h"
#include "QuilletKit/Words/FolderLedgerStorage.h"
#include "QuilletPhone/PhoneAnswers.h"
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
    const std::string& command = arguments_.command;
    if (command == "init") return init();
    if (command == "reset") return reset();
    if (command == "delete") return deleteData();
    state_ = loadState();
    if (command == "macs") return say(answerOf(state_.macs));
    if (command == "words") return words();
    openPhone(state_);
    if (command == "pair") return pair();
    if (command == "presence") return say(answerOf(await(phone_->presence())));
    if (command == "unpair" || command == "revoke") return unpair();
    if (command == "rename") return rename();
    return runDelivery(mac(arguments_.option("mac")));
  }

 private:
  void await(Awaitable<void> operation) {
    std::exception_ptr error;
    boost::asio::co_spawn(context_, std::move(operation), [&](const std::exception_ptr& e) { error = e; });
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

  PhoneState loadState() const {
    auto state = PhoneState::load(folder_);
    if (!state) throw PhoneError(PhoneExit::notReady, "This phone isn't set up. Run \"quillet-phone init\" first.");
    return *std::move(state);
  }

  void openPhone(const PhoneState& state) {
    Phone::serviceURL(state.service);
    phone_.emplace(state, folder_, Phone::loadIdentity(folder_), session_, time_);
  }

  PhoneExit say(const PhoneAnswer& answer) {
    out_ << (arguments_.json ? json::serialize(answer.object) : answer.text) << std::endl;
    return answer.exit;
  }
  PhoneExit say(json::object object, const std::string& text) { return say(PhoneAnswer{std::move(object), text}); }

  const std::string& operand(std::size_t index) const { return arguments_.operands[index]; }

  PeerIdentity mac(const std::string& wanted) const {
    if (const auto* found = state_.mac(wanted)) return found->identity;
    if (state_.macs.empty()) throw PhoneError(PhoneExit::notReady, "No Mac is paired.");
    if (wanted.empty()) throw PhoneError(PhoneExit::notReady, "Which Mac? Name one with --mac.");
    throw PhoneError(PhoneExit::notReady, "No paired Mac, or more than one, fits \"" + wanted + "\".");
  }

  PhoneExit init() {
    const PhoneState first{.name = "Phone", .service = "http://127.0.0.1:8787", .macs = {}};
    auto state = PhoneState::load(folder_).value_or(first);
    configure(state);
    openPhone(state);
    await(phone_->registerDevice());
    PhoneState::change(
        folder_, [this](PhoneState& now) { configure(now); }, state);
    noteMissingFolder(state.wordLedgerFolder);
    return say({{"deviceId", phone_->deviceId()}, {"name", state.name}, {"service", state.service}},
               "Registered with " + state.service + " as " + phone_->deviceId());
  }

  void configure(PhoneState& state) const {
    if (arguments_.has("name")) state.name = PhoneArguments::deviceName(arguments_.option("name"));
    state.service = arguments_.option("service", state.service);
    if (!arguments_.has("words")) return;
    state.wordLedgerFolder.reset();
    if (const auto folder = arguments_.option("words"); !folder.empty()) state.wordLedgerFolder = folder;
  }

  void noteMissingFolder(const std::optional<std::string>& setting) {
    const auto shared = FolderLedgerStorage::folderFrom(setting);
    std::error_code ignored;
    if (!shared || std::filesystem::is_directory(*shared, ignored)) return;
    err_ << "quillet-phone: The folder \"" << *setting << "\" isn't there; until it is, words are counted here only."
         << std::endl;
  }

  bool wordsAgree(const Phone::Claim& claim) {
    const auto words = claim.crypto.verificationWords();
    say({{"macName", claim.macName}, {"words", json::array(words.begin(), words.end())}},
        "Pairing with “" + plainText(claim.macName) + "”.\nVerification words: " + claim.crypto.verificationPhrase());
    return sure("Does the Mac show the same four words?");
  }

  PhoneExit pair() {
    auto claim = await(phone_->claim(operand(0)));
    if (!wordsAgree(claim)) {
      await(phone_->cancelPairing(claim.sessionId));
      throw PhoneError(PhoneExit::pairingFailed, "Pairing cancelled. Nothing was paired.");
    }
    const PeerIdentity mac = await(phone_->confirm(std::move(claim)));
    return say({{"paired", true}, {"macId", mac.deviceId}, {"name", mac.name}}, "Paired with " + plainText(mac.name));
  }

  PhoneExit runDelivery(const PeerIdentity& target) {
    std::string utterance = arguments_.option("utterance");
    if (arguments_.command == "wait" || arguments_.command == "cancel") utterance = operand(0);
    if (utterance.empty()) utterance = Phone::makeId();
    try {
      return runDelivery(target, utterance);
    } catch (PhoneError& error) {
      error.utteranceId = utterance;
      throw;
    }
  }

  PhoneExit runDelivery(const PeerIdentity& target, const std::string& id) {
    const std::string& command = arguments_.command;
    if (command == "prepare") return say(answerOf(await(phone_->prepare(target, id))));
    if (command == "say") return sayText(target, id);
    if (command == "deliver") {
      const std::string text = textFrom(operand(1));
      noteSentWords(folder_, id, text, err_);
      return tell(await(phone_->deliver(target, id, operand(0), text)), id, DeliveryWish::submitted);
    }
    if (command == "cancel") return tell(await(phone_->cancelDelivery(target, id)), id, DeliveryWish::cancelled);
    return tell(await(phone_->wait(target, id, arguments_.waitLimit())), id, DeliveryWish::result);
  }

  PhoneExit sayText(const PeerIdentity& target, const std::string& id) {
    const std::string text = textFrom(operand(0));
    const auto prepared = await(phone_->prepare(target, id));
    if (prepared.status != PrepareStatus::ready || !prepared.token) return say(answerOf(prepared));
    noteSentWords(folder_, id, text, err_);
    const auto report = await(phone_->deliverAndWait(target, id, *prepared.token, text, arguments_.waitLimit()));
    return tell(report, id, DeliveryWish::result);
  }

  /// What becomes of a delivery; its words count as soon as it is known that they went in.
  PhoneExit tell(const Phone::DeliveryReport& report, const std::string& id, DeliveryWish wish) {
    if (report.result && report.result->outcome == InsertionOutcome::inserted) {
      countSentWords(state_, folder_, id, err_);
    }
    return say(answerOf(report, id, wish));
  }

  /// The operand, or with "-" standard input without the line end that closes it.
  std::string textFrom(const std::string& given) {
    std::string text = given;
    if (given == "-") {
      text.assign(std::istreambuf_iterator<char>(in_), {});
      if (text.ends_with('\n')) text.pop_back();
      if (text.ends_with('\r')) text.pop_back();
    }
    PhoneArguments::checkText(text);
    return text;
  }

  PhoneExit rename() {
    const std::string name = PhoneArguments::deviceName(operand(0));
    await(phone_->rename(name));
    return say({{"name", name}}, "This phone is called " + name);
  }

  PhoneExit words() {
    const WordStatsSummary summary = wordSummary(state_, folder_, err_);
    return say({{"today", summary.today}, {"week", summary.week}, {"month", summary.month}, {"total", summary.total}},
               "Today " + std::to_string(summary.today) + ", week " + std::to_string(summary.week) + ", month " +
                   std::to_string(summary.month) + ", total " + std::to_string(summary.total));
  }

  bool sure(const std::string& question) {
    if (arguments_.has("yes")) return true;
    err_ << question << " [y/N] " << std::flush;
    std::string line;
    std::getline(in_, line);
    std::string reply(Unicode::isValidUTF8(line) ? Unicode::trim(line) : "");
    std::transform(reply.begin(), reply.end(), reply.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
    return reply == "y" || reply == "yes";
  }

  /// With --service a damaged or lost file is no hindrance, as long as the keys are there.
  PhoneState stateToDelete() const {
    const bool hasKeys = std::filesystem::exists(folder_ / "keys");
    if (!arguments_.has("service") || !hasKeys) return loadState();
    return {.name = "", .service = arguments_.option("service"), .macs = {}};
  }

  PhoneExit deleteData() {
    const PhoneState state = stateToDelete();
    if (!sure("Delete this phone at the service? All Macs must pair with it again.")) return unchanged();
    openPhone(state);
    await(phone_->deleteCloudData());
    return say({{"deleted", true}}, "Deleted. \"quillet-phone init\" begins as a new phone.");
  }

  PhoneExit reset() {
    if (!sure("Forget this phone's keys and pairs? The service is not told; \"delete\" does both.")) return unchanged();
    Phone::reset(folder_);
    return say({{"reset", true}}, "Forgotten. \"quillet-phone init\" begins as a new phone.");
  }

  PhoneExit unchanged() { return say({{"changed", false}}, "Nothing was changed."); }

  PhoneExit unpair() {
    const std::string wanted = arguments_.operands.empty() ? arguments_.option("mac") : operand(0);
    const bool isOnlyAtTheService = Identifier::isDevice(wanted) && state_.mac(wanted) == nullptr;
    const PeerIdentity target = isOnlyAtTheService ? PeerIdentity{.deviceId = wanted, .name = wanted} : mac(wanted);
    await(phone_->unpair(target.deviceId));
    return say({{"unpaired", target.deviceId}}, "No longer paired with " + plainText(target.name));
  }

  const PhoneArguments& arguments_;
  std::filesystem::path folder_;
  std::istream& in_;
  std::ostream& out_;
  std::ostream& err_;
  boost::asio::io_context context_;
  HTTPSession session_;
  TimeSource time_;
  PhoneState state_;
  std::optional<Phone> phone_;
};

PhoneExit runCommand(const PhoneArguments& arguments, const std::filesystem::path& defaultFolder, std::istream& in,
                     std::ostream& out, std::ostream& err) {
  if (arguments.wantsHelp()) {
    out << kPhoneHelp << std::flush;
    return PhoneExit::done;
  }
  if (arguments.has("version")) {
    out << "quillet-phone " QUILLET_VERSION << std::endl;
    return PhoneExit::done;
  }
  arguments.check();
  const std::filesystem::path folder = arguments.option("state", defaultFolder.string());
  return PhoneRun(arguments, folder, in, out, err).run();
}

}  // namespace

PhoneExit runPhone(const std::vector<std::string>& arguments, const std::filesystem::path& defaultFolder,
                   std::istream& in, std::ostream& out, std::ostream& err) {
  PhoneError failure(PhoneExit::failure, "");
  try {
    return runCommand(PhoneArguments::parse(arguments), defaultFolder, in, out, err);
  } catch (const PhoneError& error) {
    failure = error;
  } catch (const std::exception& error) {
    failure = {PhoneExit::failure, error.what()};
  }
  const auto options = std::find(arguments.begin(), arguments.end(), "--");
  if (std::find(arguments.begin(), options, "--json") != options) {
    json::object object{{"error", failure.what()}, {"exit", static_cast<int>(failure.exit)}};
    if (!failure.utteranceId.empty()) object["utteranceId"] = failure.utteranceId;
    out << json::serialize(object) << std::endl;
  } else {
    err << "quillet-phone: " << plainText(failure.what()) << std::endl;
    if (!failure.utteranceId.empty()) err << "Utterance: " << failure.utteranceId << std::endl;
  }
  return failure.exit;
}

}  // namespace quillet
