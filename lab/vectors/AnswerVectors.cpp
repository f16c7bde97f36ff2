#include "lab/vectors/AnswerVectors.h"

#include <string>
#include <string_view>

#include "lab/vectors/SamplePasskey.h"

namespace korvan::lab::vectors {
namespace {

ProviderMessage assertionAnswer() {
  return {{"ok", true},
          {"userHandle", userHandle()},
          {"relyingPartyIdentifier", RelyingParty},
          {"signature", signature()},
          {"clientDataHash", assertionClientDataHash()},
          {"authenticatorData", authenticatorData()},
          {"credentialID", credentialID()}};
}

ProviderMessage registrationAnswer() {
  return {{"ok", true},
          {"relyingPartyIdentifier", RelyingParty},
          {"clientDataHash", registrationClientDataHash()},
          {"credentialID", credentialID()},
          {"attestationObject", attestationObject()}};
}

ProviderMessage withNotice(ProviderMessage refusal) {
  refusal.insert_or_assign(provider_message_key::showUnavailableUI, true);
  return refusal;
}

}  // namespace

std::vector<MessageVector> answerVectors() {
  namespace code = provider_error_code;
  return {
      {.name = "answer-assertion", .message = assertionAnswer()},
      {.name = "answer-registration", .message = registrationAnswer()},
      {.name = "answer-ok", .message = {{"ok", true}}},
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
