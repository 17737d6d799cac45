// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "QuilletKit/Async/Task.h"
#include "QuilletKit/Network/HTTPSession.h"
#include "QuilletKit/Network/WebSocketMessage.h"

namespace quillet {

/// One outgoing WebSocket. Created unconnected; all operations are called on `callbacks`' thread and complete there.
/// Nothing is called back after destruction. Abstract, so that a double can give faults that no real service gives on
/// request.
class WebSocketTask {
 public:
  virtual ~WebSocketTask() = default;
  /// Connects and upgrades. Sends may be queued at once and go out after the upgrade.
  virtual void resume() = 0;
  /// Queues a text frame; `completion(true)` once written to a socket whose upgrade succeeded, `completion(false)` on
  /// failure. Writes keep their order.
  virtual void sendText(std::string text, std::function<void(bool)> completion) = 0;
  /// Sends a message, in order with all others, and waits until it is written. Throws TransportError when it wasn't.
  /// A cancellation doesn't end the wait; cancel the socket.
  virtual Awaitable<void> send(WebSocketMessage message) = 0;
  /// The next message. Throws TransportError when the socket failed, closed, or a message was over the limit; the
  /// cancellation error when cancelled.
  virtual Awaitable<WebSocketMessage> receive() = 0;
  /// The status of a refused upgrade, once known.
  virtual std::optional<int> refusedStatus() const = 0;
  /// Ends it with a close code and no reason. 1006 drops the connection without a close frame. What was queued before
  /// is still written within a short bound. `untilClosed` is kept until then, and destroyed on any thread.
  virtual void cancel(int closeCode, std::shared_ptr<void> untilClosed = nullptr) = 0;
};

/// `maximumMessageSize` in bytes. The upgrade is bounded by the request's timeout.
std::unique_ptr<WebSocketTask> makeWebSocketTask(HTTPSession& session, Executor callbacks, HTTPRequest request,
                                                 std::size_t maximumMessageSize);

}  // namespace quillet
