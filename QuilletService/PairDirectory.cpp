// SPDX-License-Identifier: MIT
#include "QuilletService/PairDirectory.h"

namespace quillet {

void PairDirectory::add(const Pair& pair, const Writes& alongside) {
  Transaction transaction(store_.database);
  store_.devices.addPair(pair);
  alongside();
  transaction.commit();
  store_.database.makeDurable();
  hub_.send(pair.macId, RelayServer::Paired{pair.phoneId});
}

bool PairDirectory::remove(const std::string& macId, const std::string& phoneId, bool tellDesktop,
                           const Writes& alongside) {
  if (!store_.devices.arePaired(macId, phoneId)) return false;
  Transaction transaction(store_.database);
  store_.devices.removePair(macId, phoneId);
  store_.deliveries.removeOfPair(macId, phoneId);
  alongside();
  transaction.commit();
  store_.database.makeDurable();
  hub_.pairEnded(macId, phoneId);
  if (tellDesktop) hub_.send(macId, RelayServer::PairRevoked{phoneId});
  return true;
}

}  // namespace quillet
