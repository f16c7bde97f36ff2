#include "lab/site/SignIn.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

#include "lab/site/AnswerJudge.h"
#include "lab/site/WireAnswer.h"
#include "lab/support/PasskeyRecord.h"

namespace korvan::lab {
namespace {

using Controller = CredentialProviderViewController;

Controller::RequestParameters parametersFor(const RelyingParty& relyingParty,
                                            const std::vector<Data>& allowedCredentials) {
  return std::make_shared<PasskeyCredentialRequestParameters>(PasskeyCredentialRequestParameters{
      .relyingPartyIdentifier = relyingParty.identifier(),
      .clientDataHash = relyingParty.clientDataHash(),
      .userVerificationPreference = relyingParty.userVerificationPreference(),
      .allowedCredentials =
          PropertyListValue::Array(allowedCredentials.begin(), allowedCredentials.end())});
}

Controller::PasskeyRequest requestFor(const RelyingParty& relyingParty,
                                      PasskeyCredentialIdentity identity) {
  auto request = std::make_shared<PasskeyCredentialRequest>();
  request->credentialIdentity = std::move(identity);
  request->clientDataHash = relyingParty.clientDataHash();
  request->userVerificationPreference = relyingParty.userVerificationPreference();
  return request;
}

/// What the answer is judged by, apart from what the site adds.
AssertionTerms termsOf(const SignInRequest& request) {
  AssertionTerms terms;
  terms.passkey = request.registered;
  if (request.mode == SignInMode::list) {
    terms.allowedCredentials = request.allowedCredentials;
  } else {
    terms.credentialID = request.identity.credentialID;
  }
  return terms;
}

}  // namespace

EnrolledPasskey readPasskey(const nlohmann::ordered_json& passkey) {
  const PasskeyRecord record = passkeyRecordFrom(passkey);
  return {.identity = {.recordIdentifier = record.recordIdentifier,
                       .relyingPartyIdentifier = record.relyingPartyIdentifier,
                       .userName = record.userName,
                       .userHandle = record.userHandle,
                       .credentialID = record.credentialID},
          .registered = {.key = PublicKey::fromDer(bytesFrom(passkey, "publicKey").bytes()),
                         .credentialID = record.credentialID,
                         .userHandle = record.userHandle,
                         .signCount = record.signCount,
                         .relyingParty = record.relyingPartyIdentifier}};
}

nlohmann::ordered_json jsonOf(const EnrolledPasskey& passkey) {
  const PasskeyCredentialIdentity& identity = passkey.identity;
  return jsonOf(
      PasskeyRecord{.recordIdentifier = identity.recordIdentifier.value_or(""),
                    .relyingPartyIdentifier = identity.relyingPartyIdentifier.value_or(""),
                    .userName = identity.userName.value_or(""),
                    .userHandle = identity.userHandle.value_or(Data()),
                    .credentialID = identity.credentialID.value_or(Data()),
                    .signCount = passkey.registered.signCount},
      "publicKey", passkey.registered.key.der());
}

std::optional<EnrolledPasskey> enrolledPasskey(const nlohmann::json& readyEvent,
                                               std::string_view relyingParty) {
  for (const auto& passkey : readyEvent.at("passkeys")) {
    if (passkey.at("relyingPartyIdentifier") == relyingParty) {
      return readPasskey(passkey);
    }
  }
  return std::nullopt;
}

Call signInCall(const RelyingParty& relyingParty, const SignInRequest& request) {
  if (request.mode == SignInMode::list) {
    return credentialListCall({}, parametersFor(relyingParty, request.allowedCredentials));
  }
  auto known = requestFor(relyingParty, request.identity);
  return request.mode == SignInMode::silent ? silentAssertionCall(std::move(known))
                                            : interactiveAssertionCall(std::move(known));
}

SignInResult signIn(CallRunner& runner, const RelyingParty& relyingParty,
                    const SignInRequest& request) {
  SignInResult result{.call = runner.run(signInCall(relyingParty, request)), .findings = {}};
  const bool silent = request.mode == SignInMode::silent;
  result.findings = judgeWireAnswer(runner.propertyLists(), result.call, silent);
  if (const auto* const completed = std::get_if<CompletedAssertion>(&result.call.outcome)) {
    const ProviderMessage answer =
        answerWith(completed->credential,
                   wireAnswer(runner.propertyLists(), result.call).value_or(ProviderMessage()));
    std::ranges::move(relyingParty.verify(answer, termsOf(request)),
                      std::back_inserter(result.findings));
  }
  return result;
}

}  // namespace korvan::lab
