// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "QuilletService/Service.h"
#include "QuilletService/ServiceError.h"
#include "QuilletService/Transcription/StreamFrames.h"

namespace quillet {

struct HTTPReply {
  int status = 200;
  std::string body;
  std::string code{};   ///< The refusal's; empty for none.
  std::string allow{};  ///< The methods that the path takes instead; empty for none.
};

/// From a request as it stood on the wire to the endpoint and back: path, signature, JSON, errors. Knows no socket.
class Router {
 public:
  explicit Router(Service& service) : service_(service) {}

  /// Never throws but for cancellation. The views in `request` must live until this is done.
  Awaitable<HTTPReply> handle(SignedRequest request);
  /// The desktop that asks for a relay socket. Throws what `refusal` turns into a reply.
  Awaitable<Device> authenticateRelay(SignedRequest request);

  /// What a device that asks for a transcription stream has asked for, and its right to it.
  struct StreamEntry {
    TranscriptionService::Place place;
    std::string deviceId;
    StreamFrames::Request request;
  };
  /// Throws what `refusal` turns into a reply.
  Awaitable<StreamEntry> authenticateStream(SignedRequest request);
  /// Throws what `streamFailure` says for the client, or the cancellation.
  Awaitable<std::unique_ptr<Transcription>> beginStream(const StreamEntry& entry);
  APIErrorBody streamFailure(const std::exception_ptr& error);

  /// The refusal of a request whose body hasn't been read yet, if it can be refused without.
  std::optional<HTTPReply> refusalBeforeBody(const SignedRequest& head);
  /// The counted reply for whatever an endpoint threw.
  HTTPReply refusal(const std::exception_ptr& error);
  /// True for the path of the relay socket.
  static bool isRelayPath(std::string_view target);
  /// True for the path of the transcription stream.
  static bool isStreamPath(std::string_view target);
  /// True for requests whose work is to end when their client goes.
  static bool endsWithItsClient(std::string_view target);
  /// The largest body that this request's route takes.
  static std::size_t bodyLimit(std::string_view method, std::string_view target);

 private:
  Awaitable<HTTPReply> dispatch(SignedRequest request);
  Awaitable<void> verify(const SignedRequest& request, Authenticator::Check check);
  HTTPReply replyFor(const std::exception_ptr& error);

  Service& service_;
};

}  // namespace quillet
