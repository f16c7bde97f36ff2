#pragma once

#include <string>
#include <string_view>

#include "platform/Data.h"

namespace korvan::lab::vectors {

// One passkey of the sample host, which the messages follow: it is registered, signs in, is renamed
// and removed. The bytes that a host would make at random are fixed here, so that the messages
// never change.

inline constexpr std::string_view RelyingParty = "example.com";
inline constexpr std::string_view RecordIdentifier = "30268ae5-e32d-41bd-bae3-9d02ef90479b";
inline constexpr std::string_view UserName = "alice";
/// Beyond ASCII, as user names may be, and beyond 16 bits.
inline constexpr std::string_view NewUserName = "Zoë 🗝";

[[nodiscard]] Data credentialID();
[[nodiscard]] Data otherCredentialID();
[[nodiscard]] Data userHandle();

/// 32 bytes each, in place of SHA-256 hashes, and easy to find in a dump.
[[nodiscard]] Data registrationClientDataHash();
[[nodiscard]] Data assertionClientDataHash();

/// What the host made of the registration; holds the credential ID and the public key.
[[nodiscard]] Data attestationObject();
/// What the host stated and signed at the first sign-in.
[[nodiscard]] Data authenticatorData();
/// ES256 of the authenticator data and the assertion's client-data hash, in DER.
[[nodiscard]] Data signature();

}  // namespace korvan::lab::vectors
