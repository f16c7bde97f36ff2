#include "lab/vectors/RequestVectors.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lab/system/Call.h"
#include "lab/vectors/SamplePasskey.h"
#include "platform/CredentialRequest.h"
#include "platform/fake/FakePlatform.h"
#include "provider/CredentialProviderViewController.h"

namespace korvan::lab::vectors {
namespace {

constexpr std::int64_t Es256 = -7;
constexpr std::int64_t Rs256 = -257;

/// What the host is sent when the platform makes the call on a fresh controller.
ProviderMessage sent(const Call& call) {
  const auto platform = std::make_shared<FakePlatform>();
  platform->localSockets.peer =
      platform->answering([](const ProviderMessage&) { return ProviderMessage{{"ok", true}}; });
  const auto controller = std::make_shared<CredentialProviderViewController>(platform->services());
  call.invoke(*controller);
  platform->queues.runAll();
  return platform->requests.at(0);
}

std::shared_ptr<PasskeyCredentialRequest> assertionRequest() {
  auto request = std::make_shared<PasskeyCredentialRequest>();
  request->credentialIdentity = PasskeyCredentialIdentity{
      .recordIdentifier = std::string(RecordIdentifier),
      .relyingPartyIdentifier = std::string(RelyingParty),
      .userName = std::string(UserName),
      .userHandle = userHandle(),
      .credentialID = credentialID(),
  };
  request->clientDataHash = assertionClientDataHash();
  request->userVerificationPreference = "required";
  return request;
}

std::shared_ptr<PasskeyCredentialRequest> registrationRequest() {
  auto request = std::make_shared<PasskeyCredentialRequest>();
  request->credentialIdentity = PasskeyCredentialIdentity{
      .recordIdentifier = std::nullopt,
      .relyingPartyIdentifier = std::string(RelyingParty),
      .userName = std::string(UserName),
      .userHandle = userHandle(),
      .credentialID = std::nullopt,
  };
  request->clientDataHash = registrationClientDataHash();
  request->userVerificationPreference = "preferred";
  request->supportedAlgorithms = PropertyListValue::Array{Es256, Rs256};
  return request;
}

std::shared_ptr<PasskeyCredentialRequest> registrationRequestExcluding(
    std::vector<PasskeyCredentialDescriptor> excluded) {
  auto request = registrationRequest();
  request->excludedCredentials = [excluded = std::move(excluded)] { return excluded; };
  return request;
}

Call listCall(std::optional<PropertyListValue::Array> allowedCredentials) {
  auto parameters = std::make_shared<PasskeyCredentialRequestParameters>();
  parameters->relyingPartyIdentifier = std::string(RelyingParty);
  parameters->clientDataHash = assertionClientDataHash();
  parameters->userVerificationPreference = "preferred";
  parameters->allowedCredentials = std::move(allowedCredentials);
  return credentialListCall({}, parameters);
}

}  // namespace

std::vector<MessageVector> requestVectors() {
  const auto excluding = registrationRequestExcluding(
      {{.credentialID = credentialID()}, {.credentialID = otherCredentialID()}});
  const auto empty = std::make_shared<PasskeyCredentialRequest>();
  const PropertyListValue::Array several{credentialID(), otherCredentialID()};
  const std::string party(RelyingParty);
  const std::vector<std::pair<const char*, Call>> calls = {
      {"assertion", silentAssertionCall(assertionRequest())},
      {"interactive-assertion", interactiveAssertionCall(assertionRequest())},
      {"interactive-assertion-list", listCall(several)},
      {"interactive-assertion-list-any", listCall(std::nullopt)},
      {"registration", interactiveRegistrationCall(registrationRequest())},
      {"registration-excluding", interactiveRegistrationCall(excluding)},
      {"registration-conditional", silentRegistrationCall(registrationRequest())},
      {"registration-defaults", interactiveRegistrationCall(empty)},
      {"synchronize", configurationCall()},
      {"update-user-name", updatedUserNameReport(party, userHandle(), std::string(NewUserName))},
      {"remove-unknown-credential", unknownCredentialReport(party, credentialID())},
      {"accepted-credentials", acceptedCredentialsReport(party, userHandle(), several)},
      {"accepted-credentials-none",
       acceptedCredentialsReport(party, userHandle(), PropertyListValue::Array())}};
  std::vector<MessageVector> vectors;
  vectors.reserve(calls.size());
  for (const auto& [name, call] : calls) {
    vectors.push_back({.name = std::string("request-") + name, .message = sent(call)});
  }
  return vectors;
}

}  // namespace korvan::lab::vectors
