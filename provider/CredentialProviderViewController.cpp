#include "provider/CredentialProviderViewController.h"

#include <utility>

namespace korvan {

CredentialProviderViewController::CredentialProviderViewController(
    std::shared_ptr<const Services> services)
    : services_(std::move(services)) {}

CredentialProviderViewController::~CredentialProviderViewController() = default;

void CredentialProviderViewController::performRequest(ProviderMessage request,
                                                      ProviderCompletion completion) {
  dispatchProviderRequest(services_, weak_from_this(), std::move(request), std::move(completion));
}

CredentialProviderViewController::RequestParameters
CredentialProviderViewController::requestParameters() const {
  return requestParameters_;
}

void CredentialProviderViewController::setRequestParameters(RequestParameters requestParameters) {
  requestParameters_ = std::move(requestParameters);
}

CredentialProviderViewController::PasskeyRequest
CredentialProviderViewController::credentialRequest() const {
  return credentialRequest_;
}

void CredentialProviderViewController::setCredentialRequest(PasskeyRequest credentialRequest) {
  credentialRequest_ = std::move(credentialRequest);
}

CredentialProviderViewController::PasskeyRequest
CredentialProviderViewController::registrationRequest() const {
  return registrationRequest_;
}

void CredentialProviderViewController::setRegistrationRequest(PasskeyRequest registrationRequest) {
  registrationRequest_ = std::move(registrationRequest);
}

std::optional<ProviderMessage> CredentialProviderViewController::pendingUnavailableResponse()
    const {
  return pendingUnavailableResponse_;
}

void CredentialProviderViewController::setPendingUnavailableResponse(
    std::optional<ProviderMessage> response) {
  pendingUnavailableResponse_ = std::move(response);
}

}  // namespace korvan
