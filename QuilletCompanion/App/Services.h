// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "QuilletCompanion/App/AppModelParts.h"
#include "QuilletCompanion/App/ServiceLocation.h"
#include "QuilletCompanion/Relay/InsertionJournal.h"
#include "QuilletCompanion/Relay/RelayConnection.h"
#include "QuilletCompanion/Relay/RelayMessageHandler.h"
#include "QuilletCompanion/Target/FocusMonitor.h"
#include "QuilletCompanion/Target/TargetGuard.h"
#include "QuilletCompanion/Target/TextInserter.h"
#include "QuilletKit/Identity/DeviceIdentity.h"
#include "QuilletKit/Protocol/APIClient.h"

namespace quillet {

/// What lives and dies with an identity. The model holds the present one; an insertion that runs holds its own to its
/// end, and nobody else holds any. Main thread only.
class Services {
 public:
  /// `onFocusChange` runs after each change of the focus. The other references outlive it.
  static std::shared_ptr<Services> make(const AppModelParts& parts, DeviceIdentity identity, ServiceURL service,
                                        PeerStore& peers, std::weak_ptr<LocalTestTarget> localTest,
                                        std::function<void()> onFocusChange);

  /// Ends everything that reaches the service and all that waits. An insertion that runs goes on to its end.
  void stop();

  const DeviceIdentity identity;
  const std::shared_ptr<APIClient> api;
  const std::unique_ptr<InsertionJournal> journal;
  TargetGuard targetGuard;
  TextInserter inserter;
  const std::shared_ptr<RelayConnection> connection;
  std::optional<RelayMessageHandler> handler;  ///< Always there.
  FocusMonitor focusMonitor;

 private:
  Services(const AppModelParts& parts, DeviceIdentity device, ServiceURL service,
           std::weak_ptr<LocalTestTarget> localTest, std::function<void()> onFocusChange);
};

}  // namespace quillet
