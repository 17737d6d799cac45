// SPDX-License-Identifier: MIT
#include "QuilletService/PairDirectory.h"

namespace quillet {

void PairDirectory::add(const Pair& pair, const Writes& alongside) {
  Transaction transaction(store_.database);
  store_.devices.addPair(pair);
  alongside();
  transaction.commit();
  store_.makeDurable();
  hub_.send(pair.macId, RelayServer::Paired{pair.phoneId});
}

bool PairDirectory::remove(const std::string& macId, const std::string& phoneId, bool tellDesktop,
                           const Writes& alongside) {
  if (!store_.devices.arePaired(macId, phoneId)) return false;
  const Pair pair{macId, phoneId};
  Transaction transaction(store_.database);
  erase(pair);
  alongside();
  transaction.commit();
  store_.makeDurable();
  tellEnd(pair, tellDesktop);
  return true;
}

void PairDirectory::erase(const Pair& pair) {
  store_.devices.removePair(pair.macId, pair.phoneId);
  store_.deliveries.removeOfPair(pair.macId, pair.phoneId);
}

void PairDirectory::tellEnd(const Pair& pair, bool tellDesktop) {
  hub_.pairEnded(pair.macId, pair.phoneId);
  if (tellDesktop) hub_.send(pair.macId, RelayServer::PairRevoked{pair.phoneId});
}

}  // namespace quillet
