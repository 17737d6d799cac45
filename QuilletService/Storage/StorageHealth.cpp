// SPDX-License-Identifier: MIT
#include "QuilletService/Storage/StorageHealth.h"

#include <sqlite3.h>

#include <utility>

#include "QuilletKit/Base/Log.h"

namespace quillet {

void StorageHealth::failed(int code) {
  if (std::exchange(code_, code) != code) Log::error("service", "The database fails with code {}", code);
}

void StorageHealth::worked() {
  if (std::exchange(code_, 0) != 0) Log::standard("service", "The database works again");
}

std::string_view StorageHealth::problem() const {
  return sqlite3_errstr(code_);
}

}  // namespace quillet
