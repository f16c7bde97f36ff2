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

  /// Reads an unencrypted PKCS #8 PrivateKeyInfo. Throws std::invalid_argument when `der` is
  /// anything but a P-256 private key.
  static SigningKey fromPkcs8(std::span<const std::uint8_t> der);

  /// What fromPkcs8() reads. This is the secret.
  [[nodiscard]] Data pkcs8() const;

  /// The public key as a DER SubjectPublicKeyInfo.
  [[nodiscard]] Data subjectPublicKeyInfo() const;

  // The public key's affine coordinates: CoordinateSize bytes each, big-endian.
  [[nodiscard]] Data publicX() const;
  [[nodiscard]] Data publicY() const;

  /// Signs `message` with ECDSA and SHA-256, and returns a DER Ecdsa-Sig-Value.
  [[nodiscard]] Data sign(std::span<const std::uint8_t> message) const;

 private:
  explicit SigningKey(EVP_PKEY* key);

  [[nodiscard]] Data publicCoordinate(const char* parameter) const;

  std::shared_ptr<EVP_PKEY> key_;
};

}  // namespace korvan::lab::host
