#include <utility>

#include "platform/ExtensionContext.h"
#include "platform/OperatingSystem.h"
#include "provider/CredentialProviderViewController.h"
#include "provider/FlowCompletion.h"
#include "provider/MessageValues.h"
#include "provider/RequestRejection.h"

namespace korvan {
namespace {

namespace key = provider_message_key;

using Identity = PasskeyCredentialIdentity;
using Request = PasskeyCredentialRequest;

/// The IDs of the request's excluded credentials, in order. Before macOS 15.0 requests do not have
/// them, and must not be asked.
PropertyListValue::Array excludedCredentialIDs(const OperatingSystem& operatingSystem,
                                               const Request* request) {
  if (!operatingSystem.isAtLeast({.major = 15}) || request == nullptr) {
    return {};
  }
  PropertyListValue::Array identifiers;
  for (const auto& descriptor : request->excludedCredentials().value_or(Request::Descriptors())) {
    if (descriptor.credentialID) {
      identifiers.emplace_back(*descriptor.credentialID);
    }
  }
  return identifiers;
}

}  // namespace

ProviderMessage CredentialProviderViewController::registrationRequestDictionary(
    const PasskeyCredentialRequest* request, bool allowsUserInteraction, bool conditional) const {
  const Identity* const identity = fieldOf(request, &Request::credentialIdentity);
  return {
      {key::allowsUserInteraction, allowsUserInteraction},
      {key::clientDataHash, dataOrEmpty(fieldOf(request, &Request::clientDataHash))},
      {key::conditional, conditional},
      {key::excludedCredentials, excludedCredentialIDs(services_->operatingSystem, request)},
      {key::recordIdentifier, stringOrEmpty(fieldOf(identity, &Identity::recordIdentifier))},
      {key::relyingPartyIdentifier,
       stringOrEmpty(fieldOf(identity, &Identity::relyingPartyIdentifier))},
      {key::supportedAlgorithms, arrayOrEmpty(fieldOf(request, &Request::supportedAlgorithms))},
      {key::type, provider_request_type::registration},
      {key::userHandle, dataOrEmpty(fieldOf(identity, &Identity::userHandle))},
      {key::userName, stringOrEmpty(fieldOf(identity, &Identity::userName))},
      {key::userVerificationPreference,
       userVerificationOrDefault(fieldOf(request, &Request::userVerificationPreference),
                                 services_->operatingSystem)},
  };
}

void CredentialProviderViewController::completeRegistrationWithResponse(
    const ProviderMessage& response) {
  services_->extensionContext.completeRegistrationRequest({
      .relyingParty = stringForKey(response, key::relyingPartyIdentifier),
      .clientDataHash = dataForKey(response, key::clientDataHash),
      .credentialID = dataForKey(response, key::credentialID),
      .attestationObject = dataForKey(response, key::attestationObject),
  });
}

void CredentialProviderViewController::requestInteractiveRegistration() {
  const PasskeyRequest request = registrationRequest();
  const bool allowsUserInteraction = true;
  const bool conditional = false;
  performRequest(
      registrationRequestDictionary(request.get(), allowsUserInteraction, conditional),
      flowCompletion(shared_from_this(),
                     &CredentialProviderViewController::completeRegistrationWithResponse));
}

void CredentialProviderViewController::prepareInterfaceForPasskeyRegistration(
    AnyRequest registrationRequest) {
  auto request = passkeyRequest(std::move(registrationRequest));
  if (!request) {
    // A registration has no credential identity that could be reported as not found.
    services_->extensionContext.cancelRequest(rejection(ExtensionErrorCode::failed));
    return;
  }
  setRequestParameters(nullptr);
  setCredentialRequest(nullptr);
  setRegistrationRequest(std::move(request));
  requestInteractiveRegistration();
}

// Keeps nothing in the properties, unlike the interactive registration: the message is made at
// once, and nothing asks for the request again.
void CredentialProviderViewController::performPasskeyRegistrationWithoutUserInteractionIfPossible(
    const PasskeyRequest& registrationRequest) {
  const bool allowsUserInteraction = false;
  const bool conditional = true;
  performRequest(
      registrationRequestDictionary(registrationRequest.get(), allowsUserInteraction, conditional),
      flowCompletion(shared_from_this(),
                     &CredentialProviderViewController::completeRegistrationWithResponse));
}

}  // namespace korvan
