#pragma once

#include <optional>
#include <vector>

#include "lab/site/RelyingParty.h"
#include "lab/site/SignIn.h"
#include "lab/system/Call.h"
#include "lab/system/CallRunner.h"
#include "lab/system/Outcome.h"

namespace korvan::lab {

/// The call that asks for a new passkey, without the user if `options` are conditional.
[[nodiscard]] Call registrationCall(const RelyingParty& relyingParty,
                                    const CreationOptions& options);

/// The result of a registration, and what was found about the host's answer; no findings if none
/// came.
struct RegistrationResult {
  CallResult call;
  FindingList findings;
  /// The new passkey, for a sign-in. Nullopt if the relying party could not read it.
  std::optional<EnrolledPasskey> passkey;

  [[nodiscard]] bool verified() const { return passkey.has_value() && isVerified(findings); }
};

[[nodiscard]] RegistrationResult registerPasskey(CallRunner& runner,
                                                 const RelyingParty& relyingParty,
                                                 const CreationOptions& options);

}  // namespace korvan::lab
