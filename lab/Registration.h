#pragma once

#include <optional>
#include <vector>

#include "lab/Call.h"
#include "lab/CallRunner.h"
#include "lab/Outcome.h"
#include "lab/RelyingParty.h"
#include "lab/SignIn.h"

namespace korvan::lab {

/// The call that asks for a new passkey: without the user when `options` are conditional.
[[nodiscard]] Call registrationCall(const RelyingParty& relyingParty,
                                    const CreationOptions& options);

/// What came of a registration, and what the relying party thinks of it: nothing, when it did not
/// get to see a credential.
struct RegistrationResult {
  CallReport report;
  std::vector<Finding> findings;
  /// The new passkey, for a sign-in; none unless the relying party could read one.
  std::optional<EnrolledPasskey> passkey;

  [[nodiscard]] bool verified() const { return passkey.has_value() && isVerified(findings); }
};

[[nodiscard]] RegistrationResult registerPasskey(CallRunner& runner,
                                                 const RelyingParty& relyingParty,
                                                 const CreationOptions& options);

}  // namespace korvan::lab
