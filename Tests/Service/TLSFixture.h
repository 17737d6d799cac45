// SPDX-License-Identifier: MIT
#pragma once

#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <filesystem>
#include <memory>

#include "QuilletService/HTTPServer.h"

namespace quillet::test {

/// A self-signed certificate for 127.0.0.1 and its key, as files in a folder.
class TLSFixture {
 public:
  explicit TLSFixture(const std::filesystem::path& folder)
      : files_{folder / "certificate.pem", folder / "key.pem"},
        key_(EVP_EC_gen("P-256"), &EVP_PKEY_free),
        made_(X509_new(), &X509_free) {
    X509_set_version(made_.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(made_.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(made_.get()), -3600);
    X509_gmtime_adj(X509_getm_notAfter(made_.get()), 3600);
    X509_set_issuer_name(made_.get(), X509_get_subject_name(made_.get()));
    X509_set_pubkey(made_.get(), key_.get());
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> names(
        X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, "IP:127.0.0.1,DNS:127.0.0.1"),
        &X509_EXTENSION_free);
    X509_add_ext(made_.get(), names.get(), -1);
    X509_sign(made_.get(), key_.get(), EVP_sha256());
    write(files_.certificate, [&](std::FILE* file) { PEM_write_X509(file, made_.get()); });
    write(files_.key,
          [&](std::FILE* file) { PEM_write_PrivateKey(file, key_.get(), nullptr, nullptr, 0, nullptr, nullptr); });
  }
  const TLSFiles& files() const { return files_; }

 private:
  template <typename Writer>
  static void write(const std::filesystem::path& path, Writer writer) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "w"), &std::fclose);
    writer(file.get());
  }

  TLSFiles files_;
  std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key_;
  std::unique_ptr<X509, decltype(&X509_free)> made_;
};

}  // namespace quillet::test
