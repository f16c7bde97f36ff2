#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/Data.h"

namespace korvan::lab {

// What a relying party reads. Nothing here trusts the bytes: anything that is too short, too long
// or otherwise not as described gives nullopt.

/// The fixed part of authenticator data, and what follows it.
/// https://www.w3.org/TR/webauthn-3/#sctn-authenticator-data
struct AuthenticatorStatement {
  Data relyingPartyHash;  ///< 32 bytes
  std::uint8_t flags = 0;
  std::uint32_t signCount = 0;
  Data rest;
};
[[nodiscard]] std::optional<AuthenticatorStatement> readAuthenticatorData(const Data& bytes);

/// https://www.w3.org/TR/webauthn-3/#sctn-attested-credential-data
struct AttestedCredential {
  Data aaguid;  ///< 16 bytes
  Data credentialID;
  Data coseKey;  ///< one item of CBOR, or all remaining bytes if they do not start with one
  Data rest;
};
[[nodiscard]] std::optional<AttestedCredential> readAttestedCredentialData(const Data& bytes);

/// An EC2 key's point. Each coordinate has as many bytes as the key says.
struct Point {
  Data x;
  Data y;
};

/// The coordinates in a COSE_Key, whatever else it says.
/// https://www.rfc-editor.org/rfc/rfc9053#section-7.1
[[nodiscard]] std::optional<Point> readCoseKey(const Data& coseKey);

/// The authenticator data in an attestation object of any format.
/// https://www.w3.org/TR/webauthn-3/#sctn-attestation
[[nodiscard]] std::optional<Data> readAttestationObject(const Data& bytes);

}  // namespace korvan::lab
