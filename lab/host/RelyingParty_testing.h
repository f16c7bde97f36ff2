#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/Data.h"

namespace korvan::host {

/// `size` bytes of the value `value`.
[[nodiscard]] Data testBytes(std::size_t size, std::uint8_t value);

/// A private key of the wrong curve.
[[nodiscard]] Data p384Pkcs8();

[[nodiscard]] Data sha256(const Data& bytes);

/// Whether `signature`, an ES256 one in DER, is of `message` by the owner of `publicKey`, a
/// SubjectPublicKeyInfo.
[[nodiscard]] bool verifies(const Data& publicKey, const Data& signature, const Data& message);

/// Authenticator data, taken apart as a relying party does.
struct ParsedAuthenticatorData {
  Data relyingPartyHash;
  std::uint8_t flags = 0;
  std::uint32_t signCount = 0;
  Data rest;
};
[[nodiscard]] ParsedAuthenticatorData parseAuthenticatorData(const Data& bytes);

/// The public key in `coseKey`, or an empty one unless it is an EC2 key for ES256 on P-256 with
/// just these entries in canonical order.
struct Point {
  Data x;
  Data y;
};
[[nodiscard]] Point parseCoseKey(const Data& coseKey);

/// The authenticator data in an attestation object of the format "none", or none of it unless it is
/// one in canonical order.
[[nodiscard]] Data parseAttestationObject(const Data& bytes);

}  // namespace korvan::host
