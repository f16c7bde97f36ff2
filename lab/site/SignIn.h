#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "lab/site/RelyingParty.h"
#include "lab/system/Call.h"
#include "lab/system/CallRunner.h"
#include "lab/system/Outcome.h"
#include "platform/CredentialRequest.h"

namespace korvan::lab {

/// The ways on which the operating system asks for a sign-in.
enum class SignInRoad : std::uint8_t {
  /// The passkey is known, and the user is not to be bothered.
  silent,
  /// The passkey is known, and the extension may show itself.
  interactive,
  /// The extension offers what passkeys it has.
  list,
};

/// A passkey as the operating system's store of identities and the relying party know it.
struct EnrolledPasskey {
  PasskeyCredentialIdentity identity;
  RegisteredPasskey registered;
};

/// The first passkey for the relying party that a sample host's event "ready" tells of.
[[nodiscard]] std::optional<EnrolledPasskey> enrolledPasskey(const nlohmann::json& readyEvent,
                                                             std::string_view relyingParty);

/// The call that asks for the sign-in. The identity counts on the roads where the passkey is known.
[[nodiscard]] Call signInCall(SignInRoad road, const RelyingParty& relyingParty,
                              PasskeyCredentialIdentity identity);

/// What came of a sign-in, and what the relying party thinks of it: nothing, when it did not get to
/// see a credential.
struct SignInResult {
  CallReport report;
  std::vector<Finding> findings;

  [[nodiscard]] bool verified() const { return !findings.empty() && isVerified(findings); }
};

[[nodiscard]] SignInResult signIn(CallRunner& runner, SignInRoad road,
                                  const RelyingParty& relyingParty,
                                  const PasskeyCredentialIdentity& identity,
                                  const std::optional<RegisteredPasskey>& registered);

}  // namespace korvan::lab
