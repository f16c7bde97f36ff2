#include "lab/site/SignIn.h"

#include <memory>
#include <utility>

#include "lab/support/PasskeyRecord.h"

namespace korvan::lab {
namespace {

using Controller = CredentialProviderViewController;

EnrolledPasskey readPasskey(const nlohmann::json& passkey) {
  const PasskeyRecord record = passkeyRecordFrom(passkey);
  return {.identity = {.recordIdentifier = record.recordIdentifier,
                       .relyingPartyIdentifier = record.relyingPartyIdentifier,
                       .userName = record.userName,
                       .userHandle = record.userHandle,
                       .credentialID = record.credentialID},
          .registered = {.key = PublicKey::fromDer(bytesFrom(passkey, "publicKey").bytes()),
                         .credentialID = record.credentialID,
                         .userHandle = record.userHandle,
                         .signCount = record.signCount}};
}

Controller::RequestParameters parametersFor(const RelyingParty& relyingParty) {
  return std::make_shared<PasskeyCredentialRequestParameters>(PasskeyCredentialRequestParameters{
      .relyingPartyIdentifier = relyingParty.identifier(),
      .clientDataHash = relyingParty.clientDataHash(),
      .userVerificationPreference = relyingParty.userVerificationPreference(),
      .allowedCredentials = std::vector<Data>()});
}

Controller::PasskeyRequest requestFor(const RelyingParty& relyingParty,
                                      PasskeyCredentialIdentity identity) {
  auto request = std::make_shared<PasskeyCredentialRequest>();
  request->credentialIdentity = std::move(identity);
  request->clientDataHash = relyingParty.clientDataHash();
  request->userVerificationPreference = relyingParty.userVerificationPreference();
  return request;
}

}  // namespace

std::optional<EnrolledPasskey> enrolledPasskey(const nlohmann::json& readyEvent,
                                               std::string_view relyingParty) {
  for (const auto& passkey : readyEvent.at("passkeys")) {
    if (passkey.at("relyingPartyIdentifier") == relyingParty) {
      return readPasskey(passkey);
    }
  }
  return std::nullopt;
}

Call signInCall(SignInMode mode, const RelyingParty& relyingParty,
                PasskeyCredentialIdentity identity) {
  if (mode == SignInMode::list) {
    return credentialListCall({}, parametersFor(relyingParty));
  }
  auto request = requestFor(relyingParty, std::move(identity));
  return mode == SignInMode::silent ? silentAssertionCall(std::move(request))
                                    : interactiveAssertionCall(std::move(request));
}

SignInResult signIn(CallRunner& runner, SignInMode mode, const RelyingParty& relyingParty,
                    const PasskeyCredentialIdentity& identity,
                    const std::optional<RegisteredPasskey>& registered) {
  SignInResult result{.call = runner.run(signInCall(mode, relyingParty, identity)), .findings = {}};
  if (const auto* const completed = std::get_if<CompletedAssertion>(&result.call.outcome)) {
    result.findings = relyingParty.verify(completed->credential, registered);
  }
  return result;
}

}  // namespace korvan::lab
