// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>

namespace quillet {

class HTTPServer;

/// Serves one accepted socket until it ends: requests one after the other, or a relay socket after an upgrade. With
/// `tls`, over TLS. The connection owns itself and is known to the server meanwhile; server and context must outlive
/// it.
void startConnection(HTTPServer& server, boost::asio::ip::tcp::socket socket, boost::asio::ssl::context* tls);

}  // namespace quillet
