#pragma once

#include <string>
#include <vector>

#include "lab/system/Call.h"
#include "lab/system/CallRunner.h"
#include "lab/system/Outcome.h"
#include "platform/Data.h"

namespace korvan::lab {

// What a relying party lets the system know of its passkeys, as the system passes it on.
// https://www.w3.org/TR/webauthn-3/#sctn-signal-methods

/// A user has another name now.
[[nodiscard]] Call updatedUserNameReport(std::string relyingParty, Data userHandle,
                                         std::string newName);

/// The relying party does not know the credential.
[[nodiscard]] Call unknownCredentialReport(std::string relyingParty, Data credentialID);

/// These are all of the user's credentials that the relying party accepts.
[[nodiscard]] Call acceptedCredentialsReport(std::string relyingParty, Data userHandle,
                                             std::vector<Data> acceptedCredentialIDs);

/// True when a host was sent the report. `report` is of a call that was listened in on.
[[nodiscard]] bool wasDelivered(const CallReport& report);

}  // namespace korvan::lab
