#include "lab/vectors/AnswerVectors.h"

#include <string>
#include <string_view>

#include "lab/vectors/SamplePasskey.h"

namespace korvan::lab::vectors {
namespace {

ProviderMessage assertionAnswer() {
  return {{.key = "ok"_text, .value = true},
          {.key = "userHandle"_text, .value = userHandle()},
          {.key = "relyingPartyIdentifier"_text, .value = RelyingParty},
          {.key = "signature"_text, .value = signature()},
          {.key = "clientDataHash"_text, .value = assertionClientDataHash()},
          {.key = "authenticatorData"_text, .value = authenticatorData()},
          {.key = "credentialID"_text, .value = credentialID()}};
}

ProviderMessage registrationAnswer() {
  return {{.key = "ok"_text, .value = true},
          {.key = "relyingPartyIdentifier"_text, .value = RelyingParty},
          {.key = "clientDataHash"_text, .value = registrationClientDataHash()},
          {.key = "credentialID"_text, .value = credentialID()},
          {.key = "attestationObject"_text, .value = attestationObject()}};
}

ProviderMessage withNotice(ProviderMessage refusal) {
  refusal.set(Text::ofStatic(provider_message_key::showUnavailableUI), true);
  return refusal;
}

}  // namespace

std::vector<MessageVector> answerVectors() {
  namespace code = provider_error_code;
  return {
      {.name = "answer-assertion", .message = assertionAnswer()},
      {.name = "answer-registration", .message = registrationAnswer()},
      {.name = "answer-ok", .message = {{.key = "ok"_text, .value = true}}},
      {.name = "answer-failed", .message = failureResponse(code::failed, "The vault is damaged.")},
      {.name = "answer-unavailable",
       .message = failureResponse(code::unavailable, "The vault is being moved.")},
      {.name = "answer-unavailable-with-notice",
       .message = withNotice(failureResponse(code::unavailable, "The vault is being moved."))},
      {.name = "answer-vault-locked",
       .message = failureResponse(code::vaultLocked, "The vault is locked.")},
      {.name = "answer-user-interaction-required",
       .message = failureResponse(code::userInteractionRequired,
                                  "The relying party demands user verification.")},
      {.name = "answer-user-canceled",
       .message = failureResponse(code::userCanceled, "The user canceled.")},
      {.name = "answer-credential-not-found",
       .message =
           failureResponse(code::credentialNotFound, "There is no passkey for example.com.")},
      {.name = "answer-matched-excluded-credential",
       .message = failureResponse(code::matchedExcludedCredential,
                                  "There is already a passkey that the request excludes.")},
  };
}

}  // namespace korvan::lab::vectors
