#include "lab/site/Registration.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

#include "lab/site/AnswerJudge.h"
#include "lab/site/WireAnswer.h"

namespace korvan::lab {
namespace {

using Controller = CredentialProviderViewController;

Controller::PasskeyRequest requestFor(const RelyingParty& relyingParty,
                                      const CreationOptions& options) {
  auto request = std::make_shared<PasskeyCredentialRequest>();
  request->credentialIdentity =
      PasskeyCredentialIdentity{.recordIdentifier = std::nullopt,
                                .relyingPartyIdentifier = relyingParty.identifier(),
                                .userName = options.userName,
                                .userHandle = options.userHandle,
                                .credentialID = std::nullopt};
  request->clientDataHash = relyingParty.clientDataHash();
  request->userVerificationPreference = relyingParty.userVerificationPreference();
  request->supportedAlgorithms.emplace(options.algorithms.begin(), options.algorithms.end());
  request->excludedCredentials = [excluded = options.excludedCredentials] {
    return PasskeyCredentialRequest::Descriptors(excluded.begin(), excluded.end());
  };
  return request;
}

/// The system knows the passkey by its credential ID: no record of the host has been told to it.
EnrolledPasskey enrolled(RegisteredPasskey passkey, const RelyingParty& relyingParty,
                         const CreationOptions& options) {
  return {.identity = {.recordIdentifier = std::nullopt,
                       .relyingPartyIdentifier = relyingParty.identifier(),
                       .userName = options.userName,
                       .userHandle = options.userHandle,
                       .credentialID = passkey.credentialID},
          .registered = std::move(passkey)};
}

}  // namespace

Call registrationCall(const RelyingParty& relyingParty, const CreationOptions& options) {
  auto request = requestFor(relyingParty, options);
  return options.conditional ? silentRegistrationCall(std::move(request))
                             : interactiveRegistrationCall(std::move(request));
}

RegistrationResult registerPasskey(CallRunner& runner, const RelyingParty& relyingParty,
                                   const CreationOptions& options) {
  RegistrationResult result{.call = runner.run(registrationCall(relyingParty, options)),
                            .findings = {},
                            .passkey = std::nullopt};
  result.findings = judgeWireAnswer(runner.propertyLists(), result.call, options.conditional);
  if (const auto* const completed = std::get_if<CompletedRegistration>(&result.call.outcome)) {
    const ProviderMessage answer =
        answerWith(completed->credential,
                   wireAnswer(runner.propertyLists(), result.call).value_or(ProviderMessage()));
    RegistrationReview review = relyingParty.verify(answer, options);
    std::ranges::move(review.findings, std::back_inserter(result.findings));
    if (review.passkey) {
      result.passkey = enrolled(*std::move(review.passkey), relyingParty, options);
    }
  }
  return result;
}

}  // namespace korvan::lab
