#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/ExtensionContext.h"
#include "provider/CredentialProviderViewController.h"
#include "provider/FlowCompletion.h"
#include "provider/MessageValues.h"
#include "provider/RequestRejection.h"

namespace korvan {
namespace {

using Identity = PasskeyCredentialIdentity;
using Parameters = PasskeyCredentialRequestParameters;

ProviderMessage recordOf(const PasskeyCredentialRequest* request) {
  const Identity* const identity = fieldOf(request, &PasskeyCredentialRequest::credentialIdentity);
  return {
      {"credentialID", dataOrEmpty(fieldOf(identity, &Identity::credentialID))},
      {"recordIdentifier", stringOrEmpty(fieldOf(identity, &Identity::recordIdentifier))},
  };
}

ProviderCompletion assertionCompletion(
    std::shared_ptr<CredentialProviderViewController> controller) {
  return flowCompletion(std::move(controller), [](CredentialProviderViewController& self,
                                                  const ProviderMessage& response) {
    self.completeAssertionWithResponse(response);
  });
}

}  // namespace

ProviderMessage CredentialProviderViewController::assertionRequestForRecord(
    const ProviderMessage& record, bool allowsUserInteraction, bool interactive) const {
  const RequestParameters held = requestParameters();
  const Parameters* const parameters = held.get();
  const PasskeyRequest request = credentialRequest();
  const Identity* const identity =
      fieldOf(request.get(), &PasskeyCredentialRequest::credentialIdentity);
  const PropertyListValue* const recordIdentifier = valueForKey(record, "recordIdentifier");
  const PropertyListValue* const credentialID = valueForKey(record, "credentialID");

  // Request parameters, when there are any, count even where they leave a field none.
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
      {"allowedCredentials", arrayOrEmpty(fieldOf(parameters, &Parameters::allowedCredentials))},
      {"allowsUserInteraction", allowsUserInteraction},
      {"clientDataHash", dataOrEmpty(clientDataHash)},
      {"credentialID", credentialID != nullptr
                           ? *credentialID
                           : dataOrEmpty(fieldOf(identity, &Identity::credentialID))},
      {"recordIdentifier", recordIdentifier != nullptr
                               ? *recordIdentifier
                               : stringOrEmpty(fieldOf(identity, &Identity::recordIdentifier))},
      {"relyingPartyIdentifier", stringOrEmpty(relyingPartyIdentifier)},
      {"type", interactive ? provider_request_type::interactiveAssertion
                           : provider_request_type::assertion},
      {"userVerificationPreference", preferenceOrPreferred(userVerificationPreference)},
  };
}

void CredentialProviderViewController::completeAssertionWithResponse(
    const ProviderMessage& response) {
  services_->extensionContext.completeAssertionRequest({
      .userHandle = dataForKey(response, "userHandle"),
      .relyingParty = stringForKey(response, "relyingPartyIdentifier"),
      .signature = dataForKey(response, "signature"),
      .clientDataHash = dataForKey(response, "clientDataHash"),
      .authenticatorData = dataForKey(response, "authenticatorData"),
      .credentialID = dataForKey(response, "credentialID"),
  });
}

void CredentialProviderViewController::requestInteractiveAssertion() {
  const PasskeyRequest request = credentialRequest();
  const ProviderMessage record = request ? recordOf(request.get()) : ProviderMessage();
  performRequest(assertionRequestForRecord(record, true, true),
                 assertionCompletion(shared_from_this()));
}

void CredentialProviderViewController::prepareCredentialListForServiceIdentifiers(
    const std::vector<std::string>& /*serviceIdentifiers*/, RequestParameters requestParameters) {
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
  setRequestParameters(nullptr);
  setCredentialRequest(request);
  performRequest(assertionRequestForRecord(recordOf(request.get()), false, false),
                 assertionCompletion(shared_from_this()));
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
