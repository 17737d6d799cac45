// SPDX-License-Identifier: MIT
#pragma once

#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <boost/asio/ssl.hpp>
#include <chrono>
#include <memory>
#include <string>

#include "Tests/Doubles/LoopbackServer.h"

namespace quillet::test {

/// A TLS service on "localhost" with a self-signed certificate for any name and time. Answers "secret" to one request
/// for each connection.
class LoopbackTLS {
 public:
  /// The certificate is good between two moments, counted from now.
  explicit LoopbackTLS(const std::string& certificateName, std::chrono::seconds from = std::chrono::hours(-1),
                       std::chrono::seconds until = std::chrono::hours(1))
      : context_(boost::asio::ssl::context::tls_server),
        certificate_(install(certificateName, from, until)),
        server_(serve()) {}

  const std::string& certificate() const { return certificate_; }
  HTTPRequest request() const {
    HTTPRequest made = server_.request("/", "GET", "https");
    made.url.host = "localhost";
    return made;
  }

 private:
  std::string install(const std::string& name, std::chrono::seconds from, std::chrono::seconds until) {
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-256"), &EVP_PKEY_free);
    const std::unique_ptr<X509, decltype(&X509_free)> made(X509_new(), &X509_free);
    X509_set_version(made.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(made.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(made.get()), from.count());
    X509_gmtime_adj(X509_getm_notAfter(made.get()), until.count());
    X509_NAME_add_entry_by_txt(X509_get_subject_name(made.get()), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
    X509_set_issuer_name(made.get(), X509_get_subject_name(made.get()));
    X509_set_pubkey(made.get(), key.get());
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> names(
        X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, ("DNS:" + name).c_str()), &X509_EXTENSION_free);
    X509_add_ext(made.get(), names.get(), -1);
    X509_sign(made.get(), key.get(), EVP_sha256());
    SSL_CTX_use_certificate(context_.native_handle(), made.get());
    SSL_CTX_use_PrivateKey(context_.native_handle(), key.get());

    const std::unique_ptr<BIO, decltype(&BIO_free)> text(BIO_new(BIO_s_mem()), &BIO_free);
    PEM_write_bio_X509(text.get(), made.get());
    char* data = nullptr;
    const auto size = BIO_get_mem_data(text.get(), &data);
    return {data, static_cast<std::size_t>(size)};
  }

  LoopbackServer::Serve serve() {
    return [this](LoopbackServer&, LoopbackServer::Socket socket) -> Awaitable<void> {
      boost::asio::ssl::stream<LoopbackServer::Socket> stream(std::move(socket), context_);
      co_await stream.async_handshake(boost::asio::ssl::stream_base::server, boost::asio::use_awaitable);
      boost::beast::flat_buffer buffer;
      LoopbackServer::Request request;
      co_await boost::beast::http::async_read(stream, buffer, request, boost::asio::use_awaitable);
      const std::string answer = LoopbackServer::answer(200, "secret");
      co_await boost::asio::async_write(stream, boost::asio::buffer(answer), boost::asio::use_awaitable);
    };
  }

  boost::asio::ssl::context context_;
  std::string certificate_;
  LoopbackServer server_;
};

}  // namespace quillet::test
