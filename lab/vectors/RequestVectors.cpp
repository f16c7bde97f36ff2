#include "lab/vectors/RequestVectors.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lab/vectors/SamplePasskey.h"
#include "platform/CredentialRequest.h"
#include "platform/fake/FakePlatform.h"
#include "provider/CredentialProviderViewController.h"

namespace korvan::lab::vectors {
namespace {

using Controller = CredentialProviderViewController;

constexpr std::int64_t Es256 = -7;
constexpr std::int64_t Rs256 = -257;

/// What the host is sent when the platform makes `call` on a fresh controller.
ProviderMessage sent(const std::function<void(Controller&)>& call) {
  const auto platform = std::make_shared<FakePlatform>();
  platform->localSockets.peer = platform->answering(
      [](const ProviderMessage&) { return ProviderMessage{{.key = "ok"_text, .value = true}}; });
  const auto controller = std::make_shared<Controller>(platform->services());
  call(*controller);
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
  request->userVerificationPreference = std::string(UserVerificationPreferencePreferred);
  request->supportedAlgorithms = {{Es256, Rs256}};
  return request;
}

std::shared_ptr<PasskeyCredentialRequest> registrationRequestExcluding(
    std::vector<PasskeyCredentialDescriptor> excluded) {
  auto request = registrationRequest();
  request->excludedCredentials = [excluded = std::move(excluded)] { return excluded; };
  return request;
}

ProviderMessage sentForSilentAssertion() {
  return sent([](Controller& controller) {
    controller.provideCredentialWithoutUserInteractionForRequest(assertionRequest());
  });
}

ProviderMessage sentForAssertion() {
  return sent([](Controller& controller) {
    controller.prepareInterfaceToProvideCredentialForRequest(assertionRequest());
  });
}

ProviderMessage sentForList(std::optional<std::vector<Data>> allowedCredentials) {
  auto parameters = std::make_shared<PasskeyCredentialRequestParameters>();
  parameters->relyingPartyIdentifier = std::string(RelyingParty);
  parameters->clientDataHash = assertionClientDataHash();
  parameters->userVerificationPreference = std::string(UserVerificationPreferencePreferred);
  parameters->allowedCredentials = std::move(allowedCredentials);
  return sent([&](Controller& controller) {
    controller.prepareCredentialListForServiceIdentifiers({}, parameters);
  });
}

ProviderMessage sentForRegistration(std::shared_ptr<PasskeyCredentialRequest> request) {
  return sent([&](Controller& controller) {
    controller.prepareInterfaceForPasskeyRegistration(std::move(request));
  });
}

ProviderMessage sentForConditionalRegistration() {
  return sent([](Controller& controller) {
    controller.performPasskeyRegistrationWithoutUserInteractionIfPossible(registrationRequest());
  });
}

ProviderMessage sentForConfiguration() {
  return sent(
      [](Controller& controller) { controller.prepareInterfaceForExtensionConfiguration(); });
}

ProviderMessage sentForNewUserName() {
  return sent([](Controller& controller) {
    controller.reportPublicKeyCredentialUpdateForRelyingParty(
        std::string(RelyingParty), userHandle(), std::string(NewUserName));
  });
}

ProviderMessage sentForUnknownCredential() {
  return sent([](Controller& controller) {
    controller.reportUnknownPublicKeyCredentialForRelyingParty(std::string(RelyingParty),
                                                               credentialID());
  });
}

ProviderMessage sentForAccepted(const std::vector<Data>& acceptedCredentialIDs) {
  return sent([&](Controller& controller) {
    controller.reportAllAcceptedPublicKeyCredentialsForRelyingParty(
        std::string(RelyingParty), userHandle(), acceptedCredentialIDs);
  });
}

}  // namespace

std::vector<MessageVector> requestVectors() {
  const auto excluding = registrationRequestExcluding(
      {{.credentialID = credentialID()}, {.credentialID = otherCredentialID()}});
  const auto empty = std::make_shared<PasskeyCredentialRequest>();
  const std::vector several{credentialID(), otherCredentialID()};
  return {
      {.name = "request-assertion", .message = sentForSilentAssertion()},
      {.name = "request-interactive-assertion", .message = sentForAssertion()},
      {.name = "request-interactive-assertion-list", .message = sentForList(several)},
      {.name = "request-interactive-assertion-list-any", .message = sentForList(std::nullopt)},
      {.name = "request-registration", .message = sentForRegistration(registrationRequest())},
      {.name = "request-registration-excluding", .message = sentForRegistration(excluding)},
      {.name = "request-registration-conditional", .message = sentForConditionalRegistration()},
      {.name = "request-registration-defaults", .message = sentForRegistration(empty)},
      {.name = "request-synchronize", .message = sentForConfiguration()},
      {.name = "request-update-user-name", .message = sentForNewUserName()},
      {.name = "request-remove-unknown-credential", .message = sentForUnknownCredential()},
      {.name = "request-accepted-credentials", .message = sentForAccepted(several)},
      {.name = "request-accepted-credentials-none", .message = sentForAccepted({})},
  };
}

}  // namespace korvan::lab::vectors
