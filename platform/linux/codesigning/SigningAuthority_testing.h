#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include <openssl/evp.h>
#include <openssl/x509.h>

namespace korvan {

/// How to sign a program. The defaults make a valid signature.
struct SignatureRecipe {
  std::string organizationalUnit = "KRVNLAB001";
  std::string commonName = "example.korvan.host";
  /// Added to the subject.
  std::optional<std::string> secondOrganizationalUnit = std::nullopt;
  std::optional<std::string> secondCommonName = std::nullopt;
  /// Days from now.
  int validFrom = -1;
  int validUntil = 1;
  std::string digest = "SHA256";
  /// What the authority signs the certificate with.
  std::string certificateDigest = "SHA256";
  std::string keyUsage = "critical,digitalSignature";
  /// Omitted when empty.
  std::string extendedKeyUsage = "critical,codeSigning";
  /// Size of a comment in the certificate, to make it large.
  std::size_t commentSize = 0;
  int signers = 1;
  bool isDetached = true;
  bool hasCertificate = true;
};

/// An authority that makes valid and invalid signatures.
class SigningAuthority {
 public:
  SigningAuthority();

  /// An intermediate authority, whose signatures include its certificate.
  [[nodiscard]] SigningAuthority issueAuthority() const;

  /// Its certificate.
  [[nodiscard]] std::string pem() const;

  /// Its certificate, encrypted.
  [[nodiscard]] std::string pemUnder(const std::string& password) const;

  /// Signs the file as it is now, into the file of the same name with ".p7s" appended.
  void sign(const std::filesystem::path& program, const SignatureRecipe& recipe = {}) const;

 private:
  struct Free {
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  };
  using Certificate = std::unique_ptr<X509, Free>;
  using Key = std::unique_ptr<EVP_PKEY, Free>;

  explicit SigningAuthority(const SigningAuthority* issuer);

  [[nodiscard]] Certificate issue(const SignatureRecipe& recipe, EVP_PKEY* key) const;

  Key key_;
  Certificate certificate_;
  bool isRoot_;
};

}  // namespace korvan
