// SPDX-License-Identifier: MIT
#include "QuilletService/Router.h"

#include <array>
#include <charconv>

#include "QuilletKit/Base/Log.h"
#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletService/Validation.h"

namespace quillet {
namespace {

constexpr std::string_view kRelayPath = "/v1/mac/connect";
constexpr std::string_view kTranscribePath = "/v1/transcribe";
constexpr std::string_view kStreamPath = "/v1/transcribe/stream";
constexpr std::string_view kRegisterPath = "/v1/devices/register";

// Each route takes as much as its longest honest body needs.
constexpr std::size_t kNoBody = 1024;
constexpr std::size_t kNameBody = 4096 + 256;
constexpr std::size_t kPairingBody = 16 * 1024;
constexpr std::size_t kRegistrationBody = 32 * 1024;
constexpr std::size_t kPrepareBody = 32 * 1024;
constexpr std::size_t kFeedbackBody = 256 * 1024;
// An envelope goes on in a frame that names its sender, and a desktop takes no frame beyond 1 MB.
constexpr std::size_t kDeliveryBody = (1 << 20) - 4096;
constexpr std::size_t kUploadBody = 16'000'000;

struct Path {
  std::string_view path, query;
};

Path split(std::string_view target) {
  const auto mark = target.find('?');
  if (mark == target.npos) return {target, {}};
  return {target.substr(0, mark), target.substr(mark + 1)};
}

/// A request on its way to an endpoint. `ids` are what stood in the braces of the route's pattern.
struct Call {
  Service& service;
  SignedRequest request;
  std::string_view query;
  std::array<std::string, 2> ids;
  Device device;                 ///< The sender of a request that a registered device signed.
  RegisterRequest registration;  ///< What a request with a key of its own asks for.

  template <typename Body>
  Body body() const {
    return JSONCoding::decode<Body>(request.body);
  }
};

using Reply = Awaitable<std::string>;

template <typename Response>
std::string encoded(const Response& response) {
  return JSONCoding::encode(response);
}

enum class Access { open, ownKey, signedByDevice };
/// Whether what an endpoint changed must be on the disk before it is answered.
enum class Change { none, kept };

struct Route {
  std::string_view method, pattern;
  Access access;
  Change change;
  std::size_t bodyLimit;
  Reply (*run)(Call&);
};

/// Compares segment by segment; "{}" takes any one that isn't empty.
bool matches(std::string_view pattern, std::string_view path, std::array<std::string, 2>& ids) {
  std::size_t taken = 0;
  while (!pattern.empty() && !path.empty()) {
    const std::string_view want = pattern.substr(0, pattern.find('/', 1));
    const std::string_view have = path.substr(0, path.find('/', 1));
    if (want == "/{}") {
      if (have.size() < 2) return false;
      ids.at(taken++) = have.substr(1);
    } else if (want != have) {
      return false;
    }
    pattern.remove_prefix(want.size());
    path.remove_prefix(have.size());
  }
  return pattern.empty() && path.empty();
}

std::chrono::seconds parseWait(std::string_view query) {
  constexpr std::string_view kName = "wait=";
  if (query.empty()) return {};
  int seconds = 0;
  const char* const end = query.data() + query.size();
  const bool named = query.starts_with(kName);
  const auto parsed = std::from_chars(query.data() + (named ? kName.size() : 0), end, seconds);
  if (!named || parsed.ec != std::errc() || parsed.ptr != end || seconds < 0) {
    throw Refusal::badRequest("The query must be wait= and a number of seconds.");
  }
  return std::chrono::seconds(seconds);
}

const Route kRoutes[] = {
    {"POST", "/v1/macs/{}/prepare", Access::signedByDevice, Change::none, kPrepareBody,
     [](Call& c) -> Reply {
       c.service.relay.requirePair(c.device, c.ids[0]);  // before the work of reading it
       co_return RelayText::envelopeResponse(
           co_await c.service.relay.prepare(c.device, c.ids[0], PassedPrepare::parse(c.request.body)));
     }},
    {"POST", "/v1/macs/{}/deliveries", Access::signedByDevice, Change::kept, kDeliveryBody,
     [](Call& c) -> Reply {
       c.service.relay.requirePair(c.device, c.ids[0]);
       co_return c.service.relay.submit(c.device, c.ids[0], PassedDelivery::parse(c.request.body)).json();
     }},
    {"GET", "/v1/macs/{}/deliveries/{}", Access::signedByDevice, Change::none, kNoBody,
     [](Call& c) -> Reply {
       const auto status = co_await c.service.relay.status(c.device, c.ids[0], c.ids[1], parseWait(c.query));
       co_return status.json();
     }},
    {"DELETE", "/v1/macs/{}/deliveries/{}", Access::signedByDevice, Change::kept, kNoBody,
     [](Call& c) -> Reply { co_return c.service.relay.cancel(c.device, c.ids[0], c.ids[1]).json(); }},
    {"GET", "/v1/presence", Access::signedByDevice, Change::none, kNoBody,
     [](Call& c) -> Reply { co_return c.service.relay.presence(c.device).json(); }},
    {"OPTIONS", "*", Access::open, Change::none, kNoBody, [](Call&) -> Reply { co_return encoded(OK{true}); }},
    {"GET", "/v1/config", Access::open, Change::none, kNoBody,
     [](Call& c) -> Reply { co_return encoded(c.service.config()); }},
    {"GET", "/v1/health", Access::open, Change::none, kNoBody,
     [](Call& c) -> Reply { co_return encoded(c.service.health()); }},
    {"POST", kRegisterPath, Access::ownKey, Change::kept, kRegistrationBody,
     [](Call& c) -> Reply { co_return encoded(c.service.devices.registerDevice(c.registration, c.request.address)); }},
    {"PATCH", "/v1/devices/me", Access::signedByDevice, Change::kept, kNameBody,
     [](Call& c) -> Reply { co_return encoded(c.service.devices.rename(c.device, c.body<RenameRequest>())); }},
    {"POST", "/v1/devices/me/delete", Access::signedByDevice, Change::none, kNoBody,
     [](Call& c) -> Reply { co_return encoded(c.service.devices.deleteDevice(c.device)); }},
    {"GET", "/v1/pairs", Access::signedByDevice, Change::none, kNoBody,
     [](Call& c) -> Reply { co_return encoded(c.service.devices.pairs(c.device)); }},
    {"DELETE", "/v1/pairs/{}", Access::signedByDevice, Change::kept, kNoBody,
     [](Call& c) -> Reply { co_return encoded(c.service.devices.removePair(c.device, c.ids[0])); }},
    {"POST", "/v1/feedback", Access::signedByDevice, Change::kept, kFeedbackBody,
     [](Call& c) -> Reply { co_return encoded(c.service.devices.sendFeedback(c.device, c.body<FeedbackRequest>())); }},
    {"POST", "/v1/pairing/sessions", Access::signedByDevice, Change::kept, kPairingBody,
     [](Call& c) -> Reply { co_return encoded(c.service.pairing.create(c.device, c.body<CreatePairingRequest>())); }},
    {"POST", "/v1/pairing/claim", Access::signedByDevice, Change::kept, kPairingBody,
     [](Call& c) -> Reply { co_return encoded(c.service.pairing.claim(c.device, c.body<ClaimPairingRequest>())); }},
    {"GET", "/v1/pairing/sessions/{}", Access::signedByDevice, Change::none, kNoBody,
     [](Call& c) -> Reply { co_return encoded(c.service.pairing.status(c.device, c.ids[0])); }},
    {"POST", "/v1/pairing/sessions/{}/confirm", Access::signedByDevice, Change::kept, kPairingBody,
     [](Call& c) -> Reply {
       co_return encoded(c.service.pairing.confirm(c.device, c.ids[0], c.body<ConfirmPairingRequest>()));
     }},
    {"POST", "/v1/pairing/sessions/{}/cancel", Access::signedByDevice, Change::kept, kNoBody,
     [](Call& c) -> Reply { co_return encoded(c.service.pairing.cancel(c.device, c.ids[0])); }},
    {"POST", kTranscribePath, Access::signedByDevice, Change::none, kUploadBody,
     [](Call& c) -> Reply {
       co_return encoded(co_await c.service.transcription.transcribe(c.device, bytesOf(c.request.body)));
     }},
};

/// What is got can be asked for without its body, too.
bool takes(const Route& route, std::string_view method) {
  return route.method == method || (route.method == "GET" && method == "HEAD");
}

const Route& findRoute(std::string_view method, std::string_view path, std::array<std::string, 2>& ids) {
  std::string allow;
  for (const Route& route : kRoutes) {
    if (!matches(route.pattern, path, ids)) continue;
    if (takes(route, method)) return route;
    allow.append(allow.empty() ? "" : ", ").append(route.method).append(route.method == "GET" ? ", HEAD" : "");
  }
  if (!allow.empty()) throw MethodNotAllowed(std::move(allow));
  throw Refusal::notFound("There is nothing at this path.");
}

/// A new device signs with the key that it registers.
Authenticator::Check checkRegistration(const Call& call) {
  const Crypto::Key key = Validation::publicKey(call.registration.signingPublicKey, "signingPublicKey");
  if (DeviceIdentity::fingerprint(key) != call.request.deviceId) throw Refusal::badSignature();
  call.service.devices.precheckRegistration(call.registration, call.request.address);
  return call.service.authenticator.check(call.request, key);
}

HTTPReply asReply(const ServiceError& error) {
  return {error.status, encoded(ErrorWrapper{error.body}), error.body.code};
}

}  // namespace

Awaitable<HTTPReply> Router::handle(SignedRequest request) {
  std::exception_ptr error;
  try {
    co_return co_await dispatch(request);
  } catch (...) {
    error = std::current_exception();
  }
  if (isCancellation(error)) std::rethrow_exception(error);
  co_return refusal(error);
}

Awaitable<HTTPReply> Router::dispatch(SignedRequest request) {
  const auto [path, query] = split(request.target);
  Call call{service_, request, query, {}, {}, {}};
  const Route& route = findRoute(request.method, path, call.ids);
  if (route.access == Access::signedByDevice) {
    co_await verify(request, service_.authenticator.check(request));
    call.device = service_.authenticator.sender(request);
    service_.devices.noteSeen(call.device);
  } else if (route.access == Access::ownKey) {
    call.registration = call.body<RegisterRequest>();
    co_await verify(request, checkRegistration(call));
  }
  std::string body = co_await route.run(call);
  if (route.change == Change::kept) co_await service_.durable();
  service_.metrics.countRequest(200, {});
  co_return HTTPReply{200, std::move(body)};
}

Awaitable<void> Router::verify(const SignedRequest& request, Authenticator::Check check) {
  const bool holds = co_await service_.verifier.holds(check);
  service_.authenticator.accept(request, check, holds);
}

std::optional<HTTPReply> Router::refusalBeforeBody(const SignedRequest& head) {
  try {
    std::array<std::string, 2> ids;
    const Route& route = findRoute(head.method, split(head.target).path, ids);
    if (route.access == Access::signedByDevice) service_.authenticator.precheck(head);
    return std::nullopt;
  } catch (...) {
    return refusal(std::current_exception());
  }
}

HTTPReply Router::refusal(const std::exception_ptr& error) {
  HTTPReply reply = replyFor(error);
  service_.metrics.countRequest(reply.status, reply.code);
  return reply;
}

Awaitable<Device> Router::authenticateRelay(SignedRequest request) {
  co_await verify(request, service_.authenticator.check(request));
  Device device = service_.authenticator.sender(request);
  if (!device.isDesktop()) throw Refusal::wrongPlatform("Only a desktop can open a relay socket.");
  co_return device;
}

Awaitable<Router::StreamEntry> Router::authenticateStream(SignedRequest request) {
  co_await verify(request, service_.authenticator.check(request));
  const Device device = service_.authenticator.sender(request);
  service_.devices.noteSeen(device);
  auto wanted = StreamFrames::Request::parse(split(request.target).query);
  co_return StreamEntry{service_.transcription.enter(device), device.id, std::move(wanted)};
}

Awaitable<std::unique_ptr<Transcription>> Router::beginStream(const StreamEntry& entry) {
  return service_.transcription.begin(entry.deviceId, entry.request.utteranceId, entry.request.language);
}

APIErrorBody Router::streamFailure(const std::exception_ptr& error) {
  return JSONCoding::decode<ErrorWrapper>(replyFor(error).body).error;
}

HTTPReply Router::replyFor(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const MethodNotAllowed& e) {
    HTTPReply reply = asReply(e);
    reply.allow = e.allow;
    return reply;
  } catch (const ServiceError& e) {
    return asReply(e);
  } catch (const JSONCoding::DecodingError&) {
    return asReply(Refusal::badRequest("The body isn't what this path takes."));
  } catch (const DatabaseError& e) {
    service_.storageHealth().failed(e.code);
  } catch (const std::exception& e) {
    Log::error("service", "A request failed with an exception of type {}", typeid(e).name());
  }
  return asReply({500, "internal", "Something went wrong. Try again in a while.", true});
}

bool Router::isRelayPath(std::string_view target) {
  return split(target).path == kRelayPath;
}

bool Router::isStreamPath(std::string_view target) {
  return split(target).path == kStreamPath;
}

bool Router::endsWithItsClient(std::string_view target) {
  return split(target).path == kTranscribePath;
}

std::size_t Router::bodyLimit(std::string_view method, std::string_view target) {
  std::array<std::string, 2> ids;
  try {
    return findRoute(method, split(target).path, ids).bodyLimit;
  } catch (const ServiceError&) {
    return kDeliveryBody;  // it is refused anyway, and for what is really wrong
  }
}

}  // namespace quillet
