// SPDX-License-Identifier: MIT
#pragma once

#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <chrono>
#include <memory>
#include <string>

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

}  // namespace quillet::test
