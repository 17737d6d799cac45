// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/ssl/context.hpp>

#include "QuilletService/Transport/ConnectionHost.h"

namespace quillet {

/// The client of the connection. Behind a proxy each request tells it.
struct ConnectionOrigin {
  AddressLimiter::Lease lease;
  bool proxied = false;
};

/// Serves one accepted socket until it ends: requests one after the other, or a relay socket after an upgrade. With
/// `tls`, over TLS. The connection owns itself and is known to the host meanwhile; host and context must outlive
/// it.
void startConnection(ConnectionHost& host, ServerSocket socket, ConnectionOrigin origin,
                     boost::asio::ssl::context* tls);

}  // namespace quillet
