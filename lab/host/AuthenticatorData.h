#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "lab/host/SigningKey.h"
#include "lab/support/AuthenticatorFlags.h"
#include "platform/Data.h"

namespace korvan::lab::host {

/// What an authenticator signs: the SHA-256 of the relying party's identifier (32
/// bytes), the flags (1), the sign count (4, big-endian) and, in a registration, the attested
/// credential data (https://www.w3.org/TR/webauthn-3/#sctn-authenticator-data).
[[nodiscard]] Data authenticatorData(std::string_view relyingPartyIdentifier, std::uint8_t flags,
                                     std::uint32_t signCount,
                                     std::span<const std::uint8_t> attestedCredentialData = {});

/// A new credential in authenticator data: an all-zero AAGUID, as attestation "none" requires, the
/// credential ID with its two-byte size, and the public key as a COSE_Key
/// (https://www.w3.org/TR/webauthn-3/#sctn-attested-credential-data). The ID has at most 1023
/// bytes.
[[nodiscard]] Data attestedCredentialData(std::span<const std::uint8_t> credentialID,
                                          const SigningKey& key);

/// `authenticatorData`, 24 to 65535 bytes, in an attestation object of the format "none"
/// (https://www.w3.org/TR/webauthn-3/#sctn-none-attestation).
[[nodiscard]] Data attestationObject(std::span<const std::uint8_t> authenticatorData);

}  // namespace korvan::lab::host
