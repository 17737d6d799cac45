// SPDX-License-Identifier: MIT
#pragma once

#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <boost/asio/ssl.hpp>
#include <memory>

#include "Tests/Doubles/LoopbackServer.h"

namespace quillet::test {

/// A self-signed certificate and its key, both PEM.
struct SelfSigned {
  /// For names as "DNS:localhost,IP:127.0.0.1"; good between two moments, counted from now.
  explicit SelfSigned(const std::string& names, std::chrono::seconds from = std::chrono::hours(-1),
                      std::chrono::seconds until = std::chrono::hours(1)) {
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> pair(EVP_EC_gen("P-256"), &EVP_PKEY_free);
    const std::unique_ptr<X509, decltype(&X509_free)> made(X509_new(), &X509_free);
    X509_set_version(made.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(made.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(made.get()), from.count());
    X509_gmtime_adj(X509_getm_notAfter(made.get()), until.count());
    X509_NAME_add_entry_by_txt(X509_get_subject_name(made.get()), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(names.c_str()), -1, -1, 0);
    X509_set_issuer_name(made.get(), X509_get_subject_name(made.get()));
    X509_set_pubkey(made.get(), pair.get());
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
        X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, names.c_str()), &X509_EXTENSION_free);
    X509_add_ext(made.get(), extension.get(), -1);
    X509_sign(made.get(), pair.get(), EVP_sha256());
    certificate = pem([&](BIO* out) { PEM_write_bio_X509(out, made.get()); });
    key = pem([&](BIO* out) { PEM_write_bio_PrivateKey(out, pair.get(), nullptr, nullptr, 0, nullptr, nullptr); });
  }

  std::string certificate, key;

 private:
  template <typename Writer>
  static std::string pem(Writer write) {
    const std::unique_ptr<BIO, decltype(&BIO_free)> text(BIO_new(BIO_s_mem()), &BIO_free);
    write(text.get());
    char* data = nullptr;
    const auto size = BIO_get_mem_data(text.get(), &data);
    return {data, static_cast<std::size_t>(size)};
  }
};

/// A TLS service on "localhost" with a self-signed certificate for any name and time. Answers "secret" to one request
/// for each connection.
class LoopbackTLS {
 public:
  /// The certificate is good between two moments, counted from now.
  explicit LoopbackTLS(const std::string& certificateName, std::chrono::seconds from = std::chrono::hours(-1),
                       std::chrono::seconds until = std::chrono::hours(1))
      : made_("DNS:" + certificateName, from, until) {
    context_.use_certificate_chain(boost::asio::buffer(made_.certificate));
    context_.use_private_key(boost::asio::buffer(made_.key), boost::asio::ssl::context::pem);
  }

  const std::string& certificate() const { return made_.certificate; }
  HTTPRequest request() const {
    HTTPRequest made = server_.request("/", "GET", "https");
    made.url.host = "localhost";
    return made;
  }

 private:
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

  SelfSigned made_;
  boost::asio::ssl::context context_{boost::asio::ssl::context::tls_server};
  LoopbackServer server_{serve()};
};

}  // namespace quillet::test
