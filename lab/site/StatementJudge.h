#pragma once

#include <cstdint>
#include <string>

#include "lab/site/AnswerJudge.h"
#include "lab/site/AttestationReader.h"
#include "lab/site/Finding.h"

namespace korvan::lab {

/// The flags by their names and as a number, such as "UP, UV (0x05)".
[[nodiscard]] std::string wordsForFlags(std::uint8_t flags);

/// Authenticator data that is too short to be read.
[[nodiscard]] Finding shortStatement(const Data& bytes, std::string_view relyingParty);

/// What authenticator data says of the relying party and of the user, in any ceremony.
[[nodiscard]] FindingList judgeStatement(const AuthenticatorStatement& statement,
                                         const RequestTerms& terms);

/// What follows the fixed part of an assertion's, which attests no credential.
[[nodiscard]] Finding judgeRestOfAssertion(const AuthenticatorStatement& statement);

/// What follows the attested credential, or nothing: the flag ED announces extensions. The finding
/// is about `subject`.
[[nodiscard]] Finding judgeExtensions(std::uint8_t flags, const Data& rest,
                                      Finding::Subject subject);

/// Whether the flag BE is as it was in the registration, which WebAuthn demands:
/// https://www.w3.org/TR/webauthn-3/#sctn-credential-backup
[[nodiscard]] Finding judgeEligibility(std::uint8_t flags, bool registered);

/// Whether the sign count grows, or is always zero.
[[nodiscard]] Finding judgeCounter(std::uint32_t count, std::uint32_t known);

}  // namespace korvan::lab
