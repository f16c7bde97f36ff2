#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "channel/ProviderMessage.h"
#include "lab/site/Finding.h"
#include "lab/site/RegisteredPasskey.h"
#include "platform/Data.h"
#include "platform/ExtensionContext.h"

namespace korvan::lab {

// The one judge of what a host answers. It reads the dictionary that came over the socket, or one
// made of what the platform was handed, trusts nothing in it, and goes on after a failure: what
// cannot be checked because of one is `notChecked`.

/// What a request for a credential asked for, whichever its kind.
struct RequestTerms {
  std::string relyingParty;
  Data clientDataHash;
  bool verificationRequired = false;
  /// False for a registration without the user.
  bool presenceRequired = true;
};

// NOLINTBEGIN(readability-redundant-member-init): g++ warns where they are left out otherwise

struct AssertionTerms {
  RequestTerms request;
  /// The passkey that the request names.
  std::optional<Data> credentialID = std::nullopt;
  /// Those that the request allows; any if empty.
  std::vector<Data> allowedCredentials = {};
  /// What is known of the passkey that must have signed.
  std::optional<RegisteredPasskey> passkey = std::nullopt;
  /// Others that the host has, to tell when one of them signed.
  std::vector<RegisteredPasskey> otherPasskeys = {};
};

struct RegistrationTerms {
  RequestTerms request;
  Data userHandle;
  /// COSE algorithm identifiers.
  std::vector<std::int64_t> algorithms = {-7};
  std::vector<Data> excludedCredentials = {};
};

// NOLINTEND(readability-redundant-member-init)

/// What was found about a new passkey, and the passkey if its key could be read.
struct RegistrationReview {
  FindingList findings;
  std::optional<RegisteredPasskey> passkey;
};

/// Judges an answer whose `ok` is true.
/// https://www.w3.org/TR/webauthn-3/#sctn-verifying-assertion
[[nodiscard]] FindingList judgeAssertion(const ProviderMessage& answer,
                                         const AssertionTerms& terms);

/// Judges an answer whose `ok` is true, with an attestation of any format and an authenticator of
/// any model. https://www.w3.org/TR/webauthn-3/#sctn-registering-a-new-credential
[[nodiscard]] RegistrationReview judgeRegistration(const ProviderMessage& answer,
                                                   const RegistrationTerms& terms);

/// Judges an answer whose `ok` is not true; `silent` if the request did not allow interaction.
[[nodiscard]] FindingList judgeRefusal(const ProviderMessage& answer, bool silent);

/// Whether `ok` is there, and a boolean.
[[nodiscard]] Finding judgeOk(const ProviderMessage& answer);

/// judgeOk(), and judgeRefusal() unless `ok` is true.
[[nodiscard]] FindingList judgeEnvelope(const ProviderMessage& answer, bool silent);

/// What the platform was handed as an answer. `wire` is the host's, if it is known: it tells a
/// value of the wrong kind, which the platform is handed as nil, from a missing one.
[[nodiscard]] ProviderMessage answerWith(const PasskeyAssertionCredential& credential,
                                         ProviderMessage wire = {});
[[nodiscard]] ProviderMessage answerWith(const PasskeyRegistrationCredential& credential,
                                         ProviderMessage wire = {});

}  // namespace korvan::lab
