#include <string>
#include <utility>
#include <vector>

#include "platform/ExtensionContext.h"
#include "provider/CredentialProviderViewController.h"
#include "provider/FlowCompletion.h"
#include "provider/MessageValues.h"
#include "provider/RequestRejection.h"

namespace korvan {
namespace {

namespace key = provider_message_key;

using Identity = PasskeyCredentialIdentity;
using Parameters = PasskeyCredentialRequestParameters;

ProviderMessage recordOf(const PasskeyCredentialRequest* request) {
  const Identity* const identity = fieldOf(request, &PasskeyCredentialRequest::credentialIdentity);
  return {
      {key::credentialID, dataOrEmpty(fieldOf(identity, &Identity::credentialID))},
      {key::recordIdentifier, stringOrEmpty(fieldOf(identity, &Identity::recordIdentifier))},
  };
}

}  // namespace

ProviderMessage CredentialProviderViewController::assertionRequestForRecord(
    const ProviderMessage& record, bool allowsUserInteraction, bool interactive) const {
  const RequestParameters held = requestParameters();
  const Parameters* const parameters = held.get();
  const PasskeyRequest request = credentialRequest();
  const Identity* const identity =
      fieldOf(request.get(), &PasskeyCredentialRequest::credentialIdentity);
  const PropertyListValue* const recordIdentifier = valueForKey(record, key::recordIdentifier);
  const PropertyListValue* const credentialID = valueForKey(record, key::credentialID);

  // Request parameters come with a credential list, where no credential request counts. They take
  // precedence even for a field that they leave out: a fallback would mix two requests.
  const std::string* const relyingPartyIdentifier =
      parameters != nullptr ? fieldOf(parameters, &Parameters::relyingPartyIdentifier)
                            : fieldOf(identity, &Identity::relyingPartyIdentifier);
  const Data* const clientDataHash =
      parameters != nullptr ? fieldOf(parameters, &Parameters::clientDataHash)
                            : fieldOf(request.get(), &PasskeyCredentialRequest::clientDataHash);
  const std::string* const userVerificationPreference =
      parameters != nullptr
          ? fieldOf(parameters, &Parameters::userVerificationPreference)
          : fieldOf(request.get(), &PasskeyCredentialRequest::userVerificationPreference);

  return {
      {key::allowedCredentials, arrayOrEmpty(fieldOf(parameters, &Parameters::allowedCredentials))},
      {key::allowsUserInteraction, allowsUserInteraction},
      {key::clientDataHash, dataOrEmpty(clientDataHash)},
      {key::credentialID, credentialID != nullptr
                              ? *credentialID
                              : dataOrEmpty(fieldOf(identity, &Identity::credentialID))},
      {key::recordIdentifier, recordIdentifier != nullptr
                                  ? *recordIdentifier
                                  : stringOrEmpty(fieldOf(identity, &Identity::recordIdentifier))},
      {key::relyingPartyIdentifier, stringOrEmpty(relyingPartyIdentifier)},
      {key::type, interactive ? provider_request_type::interactiveAssertion
                              : provider_request_type::assertion},
      {key::userVerificationPreference,
       userVerificationOrDefault(userVerificationPreference, services_->operatingSystem)},
  };
}

void CredentialProviderViewController::completeAssertionWithResponse(
    const ProviderMessage& response) {
  services_->extensionContext.completeAssertionRequest({
      .userHandle = dataForKey(response, key::userHandle),
      .relyingParty = stringForKey(response, key::relyingPartyIdentifier),
      .signature = dataForKey(response, key::signature),
      .clientDataHash = dataForKey(response, key::clientDataHash),
      .authenticatorData = dataForKey(response, key::authenticatorData),
      .credentialID = dataForKey(response, key::credentialID),
  });
}

void CredentialProviderViewController::requestInteractiveAssertion() {
  const PasskeyRequest request = credentialRequest();
  const ProviderMessage record = request ? recordOf(request.get()) : ProviderMessage();
  const bool allowsUserInteraction = true;
  const bool interactive = true;
  performRequest(assertionRequestForRecord(record, allowsUserInteraction, interactive),
                 flowCompletion(shared_from_this(),
                                &CredentialProviderViewController::completeAssertionWithResponse));
}

void CredentialProviderViewController::prepareCredentialListForServiceIdentifiers(
    const std::vector<std::string>& /*serviceIdentifiers*/, RequestParameters requestParameters) {
  // The parameters name the relying party, so the service identifiers add nothing.
  setRequestParameters(std::move(requestParameters));
  setCredentialRequest(nullptr);
  setRegistrationRequest(nullptr);
  requestInteractiveAssertion();
}

void CredentialProviderViewController::provideCredentialWithoutUserInteractionForRequest(
    AnyRequest credentialRequest) {
  const auto request = passkeyRequest(std::move(credentialRequest));
  if (!request) {
    services_->extensionContext.cancelRequest(
        rejection(ExtensionErrorCode::credentialIdentityNotFound));
    return;
  }
  // Unlike the interactive entry points, this one leaves the registration request alone: it takes
  // over no view, and its message is made of the other two properties only.
  setRequestParameters(nullptr);
  setCredentialRequest(request);
  const bool allowsUserInteraction = false;
  const bool interactive = false;
  performRequest(
      assertionRequestForRecord(recordOf(request.get()), allowsUserInteraction, interactive),
      flowCompletion(shared_from_this(),
                     &CredentialProviderViewController::completeAssertionWithResponse));
}

void CredentialProviderViewController::prepareInterfaceToProvideCredentialForRequest(
    AnyRequest credentialRequest) {
  auto request = passkeyRequest(std::move(credentialRequest));
  if (!request) {
    services_->extensionContext.cancelRequest(
        rejection(ExtensionErrorCode::credentialIdentityNotFound));
    return;
  }
  setRequestParameters(nullptr);
  setRegistrationRequest(nullptr);
  setCredentialRequest(std::move(request));
  requestInteractiveAssertion();
}

}  // namespace korvan
