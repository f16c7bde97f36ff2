#pragma once

#include <optional>
#include <string_view>

#include "lab/site/AnswerJudge.h"
#include "lab/site/AttestationReader.h"
#include "lab/site/Finding.h"
#include "lab/site/PublicKey.h"
#include "platform/Data.h"

namespace korvan::lab {

/// The shape of an attestation object, without what is in its authenticator data.
[[nodiscard]] FindingList judgeAttestationObject(const Data& bytes, std::string_view relyingParty);

/// The attested credential of authenticator data with these flags. `credentialID` is the answer's.
[[nodiscard]] FindingList judgeAttestedCredential(const AttestedCredential& attested,
                                                  const std::optional<Data>& credentialID,
                                                  const RegistrationTerms& terms);

/// The key in a COSE_Key if it is a point on P-256, whatever else the COSE_Key says.
[[nodiscard]] std::optional<PublicKey> publicKeyIn(const Data& coseKey);

}  // namespace korvan::lab
