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

/// How the operating system asks for a sign-in.
enum class SignInMode : std::uint8_t {
  /// The passkey is known, and the user must not be disturbed.
  silent,
  /// The passkey is known, and the extension may show itself.
  interactive,
  /// The user chooses one of the host's passkeys.
  list,
};

/// A passkey as the system's identity store and the relying party know it.
struct EnrolledPasskey {
  PasskeyCredentialIdentity identity;
  RegisteredPasskey registered;
};

/// The first passkey for the relying party in a sample host's event "ready".
[[nodiscard]] std::optional<EnrolledPasskey> enrolledPasskey(const nlohmann::json& readyEvent,
                                                             std::string_view relyingParty);

/// The call that asks for the sign-in. `identity` is not used with SignInMode::list.
[[nodiscard]] Call signInCall(SignInMode mode, const RelyingParty& relyingParty,
                              PasskeyCredentialIdentity identity);

/// The result of a sign-in, and what the relying party found; no findings if there was no
/// credential.
struct SignInResult {
  CallResult call;
  FindingList findings;

  [[nodiscard]] bool verified() const { return !findings.empty() && isVerified(findings); }
};

[[nodiscard]] SignInResult signIn(CallRunner& runner, SignInMode mode,
                                  const RelyingParty& relyingParty,
                                  const PasskeyCredentialIdentity& identity,
                                  const std::optional<RegisteredPasskey>& registered);

}  // namespace korvan::lab
