#pragma once

#include <cstdint>

namespace korvan::lab {

/// The bits of an authenticator data's flags byte
/// (https://www.w3.org/TR/webauthn-3/#authdata-flags).
enum AuthenticatorFlags : std::uint8_t {
  UserPresent = 0x01,
  UserVerified = 0x04,
  BackupEligible = 0x08,
  BackedUp = 0x10,
  AttestedCredentialDataIncluded = 0x40,
  ExtensionDataIncluded = 0x80,
  /// Both bits that have no meaning yet.
  ReservedFlags = 0x22,
};

}  // namespace korvan::lab
