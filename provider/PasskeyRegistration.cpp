#include <memory>
#include <utility>

#include "platform/ExtensionContext.h"
#include "platform/OperatingSystem.h"
#include "provider/CredentialProviderViewController.h"
#include "provider/FlowCompletion.h"
#include "provider/MessageValues.h"
#include "provider/RequestRejection.h"

namespace korvan {
namespace {

using Identity = PasskeyCredentialIdentity;
using Request = PasskeyCredentialRequest;

/// The IDs of the request's excluded credentials, in its order; before macOS 15.0 the request has
/// none to ask for.
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

ProviderCompletion registrationCompletion(
    std::shared_ptr<CredentialProviderViewController> controller) {
  return flowCompletion(std::move(controller), [](CredentialProviderViewController& self,
                                                  const ProviderMessage& response) {
    self.completeRegistrationWithResponse(response);
  });
}

}  // namespace

ProviderMessage CredentialProviderViewController::registrationRequestDictionary(
    const PasskeyCredentialRequest* request, bool allowsUserInteraction, bool conditional) const {
  const Identity* const identity = fieldOf(request, &Request::credentialIdentity);
  return {
      {"allowsUserInteraction", allowsUserInteraction},
      {"clientDataHash", dataOrEmpty(fieldOf(request, &Request::clientDataHash))},
      {"conditional", conditional},
      {"excludedCredentials", excludedCredentialIDs(services_->operatingSystem, request)},
      {"recordIdentifier", stringOrEmpty(fieldOf(identity, &Identity::recordIdentifier))},
      {"relyingPartyIdentifier",
       stringOrEmpty(fieldOf(identity, &Identity::relyingPartyIdentifier))},
      {"supportedAlgorithms", arrayOrEmpty(fieldOf(request, &Request::supportedAlgorithms))},
      {"type", provider_request_type::registration},
      {"userHandle", dataOrEmpty(fieldOf(identity, &Identity::userHandle))},
      {"userName", stringOrEmpty(fieldOf(identity, &Identity::userName))},
      {"userVerificationPreference",
       preferenceOrPreferred(fieldOf(request, &Request::userVerificationPreference))},
  };
}

void CredentialProviderViewController::completeRegistrationWithResponse(
    const ProviderMessage& response) {
  services_->extensionContext.completeRegistrationRequest({
      .relyingParty = stringForKey(response, "relyingPartyIdentifier"),
      .clientDataHash = dataForKey(response, "clientDataHash"),
      .credentialID = dataForKey(response, "credentialID"),
      .attestationObject = dataForKey(response, "attestationObject"),
  });
}

void CredentialProviderViewController::requestInteractiveRegistration() {
  performRequest(registrationRequestDictionary(registrationRequest().get(), true, false),
                 registrationCompletion(shared_from_this()));
}

void CredentialProviderViewController::prepareInterfaceForPasskeyRegistration(
    AnyRequest registrationRequest) {
  auto request = passkeyRequest(std::move(registrationRequest));
  if (!request) {
    services_->extensionContext.cancelRequest(rejection(ExtensionErrorCode::failed));
    return;
  }
  setRequestParameters(nullptr);
  setCredentialRequest(nullptr);
  setRegistrationRequest(std::move(request));
  requestInteractiveRegistration();
}

// Keeps nothing in the properties, unlike the interactive registration.
void CredentialProviderViewController::performPasskeyRegistrationWithoutUserInteractionIfPossible(
    const PasskeyRequest& registrationRequest) {
  performRequest(registrationRequestDictionary(registrationRequest.get(), false, true),
                 registrationCompletion(shared_from_this()));
}

}  // namespace korvan
