// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/UUID.h"

#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>

#include "QuilletKit/Base/Crypto.h"

namespace quillet {

std::string randomUUID() {
  boost::uuids::uuid uuid;
  Crypto::fillRandom(uuid.data);
  uuid.data[6] = (uuid.data[6] & 0x0f) | 0x40;
  uuid.data[8] = (uuid.data[8] & 0x3f) | 0x80;
  return boost::uuids::to_string(uuid);
}

}  // namespace quillet
