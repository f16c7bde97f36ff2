#pragma once

#include "lab/site/AnswerJudge.h"
#include "lab/site/Finding.h"
#include "platform/Data.h"

namespace korvan::lab {

/// Whether the terms' passkey, which must be known, signed `authenticatorData` followed by the hash
/// of the client data. If not, tries the usual mistakes and names those with which it verifies.
[[nodiscard]] Finding judgeSignature(const Data& signature, const Data& authenticatorData,
                                     const AssertionTerms& terms);

/// Whether two signatures in DER were made with the same nonce. Where one key made both, anybody
/// can compute it from them.
[[nodiscard]] bool haveSameNonce(const Data& left, const Data& right);

}  // namespace korvan::lab
