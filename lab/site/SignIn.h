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

/// Reads a passkey as the sample host's event "ready" and jsonOf() write it. Throws
/// std::runtime_error or std::invalid_argument that says what is wrong.
[[nodiscard]] EnrolledPasskey readPasskey(const nlohmann::ordered_json& passkey);

[[nodiscard]] nlohmann::ordered_json jsonOf(const EnrolledPasskey& passkey);

/// The first passkey for the relying party in a sample host's event "ready".
[[nodiscard]] std::optional<EnrolledPasskey> enrolledPasskey(const nlohmann::json& readyEvent,
                                                             std::string_view relyingParty);

/// A sign-in that the system asks for.
struct SignInRequest {
  SignInMode mode = SignInMode::silent;
  /// The passkey that the request names. Not used with SignInMode::list.
  PasskeyCredentialIdentity identity;
  /// What the relying party knows of the passkey that must sign.
  std::optional<RegisteredPasskey> registered;
  /// Those that it accepts; any if empty. Used with SignInMode::list only.
  // NOLINTNEXTLINE(readability-redundant-member-init): g++ warns where it is left out otherwise
  std::vector<Data> allowedCredentials = {};
};

/// The call that asks for the sign-in.
[[nodiscard]] Call signInCall(const RelyingParty& relyingParty, const SignInRequest& request);

/// The result of a sign-in, and what was found about the host's answer; no findings if none came.
struct SignInResult {
  CallResult call;
  FindingList findings;

  [[nodiscard]] bool verified() const {
    return std::holds_alternative<CompletedAssertion>(call.outcome) && isVerified(findings);
  }
};

[[nodiscard]] SignInResult signIn(CallRunner& runner, const RelyingParty& relyingParty,
                                  const SignInRequest& request);

}  // namespace korvan::lab
