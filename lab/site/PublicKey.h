#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include <openssl/evp.h>

#include "platform/Data.h"

namespace korvan::lab {

/// The public half of a passkey, on the curve P-256.
class PublicKey {
 public:
  /// From a SubjectPublicKeyInfo in DER or PEM. Throws std::invalid_argument for anything else, and
  /// for another kind of key.
  static PublicKey fromDer(std::span<const std::uint8_t> der);
  static PublicKey fromPem(std::string_view pem);

  /// From a point whose coordinates have 32 bytes each, big-endian. Throws std::invalid_argument
  /// when it is not on the curve.
  static PublicKey fromPoint(std::span<const std::uint8_t> x, std::span<const std::uint8_t> y);

  /// As a SubjectPublicKeyInfo. Throws std::runtime_error when the cryptographic library fails.
  [[nodiscard]] Data der() const;
  [[nodiscard]] std::string pem() const;

  /// True when `signature`, a DER Ecdsa-Sig-Value, is the key's ES256 signature of `message`, or
  /// one with another hash. https://www.rfc-editor.org/rfc/rfc9053#section-2.1
  [[nodiscard]] bool verifies(std::span<const std::uint8_t> message,
                              std::span<const std::uint8_t> signature,
                              const EVP_MD* hash = EVP_sha256()) const;

 private:
  explicit PublicKey(EVP_PKEY* key);

  std::shared_ptr<EVP_PKEY> key_;
};

}  // namespace korvan::lab
