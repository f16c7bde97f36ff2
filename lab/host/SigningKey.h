#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include <openssl/evp.h>

#include "platform/Data.h"

namespace korvan::lab::host {

/// A passkey's private key on the curve P-256, which signs as ES256
/// (https://www.rfc-editor.org/rfc/rfc9053#section-2.1). Copies share the key and may be used on
/// any thread. Members throw std::runtime_error when the cryptographic library fails.
class SigningKey {
 public:
  static constexpr std::size_t CoordinateSize = 32;

  static SigningKey generate();

  /// The key in `der`, an unencrypted PKCS #8 PrivateKeyInfo and nothing else. Throws
  /// std::invalid_argument when it is something else than a P-256 private key.
  static SigningKey fromPkcs8(std::span<const std::uint8_t> der);

  /// What fromPkcs8() reads: the secret itself.
  [[nodiscard]] Data pkcs8() const;

  /// The public key as a DER SubjectPublicKeyInfo.
  [[nodiscard]] Data subjectPublicKeyInfo() const;

  // The public key's affine coordinates: CoordinateSize bytes each, the most significant first.
  [[nodiscard]] Data publicX() const;
  [[nodiscard]] Data publicY() const;

  /// The ECDSA signature with SHA-256 of `message`, as a DER Ecdsa-Sig-Value.
  [[nodiscard]] Data sign(std::span<const std::uint8_t> message) const;

 private:
  explicit SigningKey(EVP_PKEY* key);

  [[nodiscard]] Data publicCoordinate(const char* parameter) const;

  std::shared_ptr<EVP_PKEY> key_;
};

}  // namespace korvan::lab::host
