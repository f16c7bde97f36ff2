#include <string>
#include <utility>

#include "platform/ExtensionContext.h"
#include "platform/OperatingSystem.h"
#include "provider/CredentialProviderViewController.h"

namespace korvan {

ExtensionErrorCode CredentialProviderViewController::extensionErrorCodeForResponse(
    const ProviderMessage& response) const {
  const auto errorCode = stringForKey(response, provider_message_key::errorCode);
  // A locked vault can only be opened by the user.
  if (errorCode == provider_error_code::vaultLocked ||
      errorCode == provider_error_code::userInteractionRequired) {
    return ExtensionErrorCode::userInteractionRequired;
  }
  if (errorCode == provider_error_code::userCanceled) {
    return ExtensionErrorCode::userCanceled;
  }
  if (errorCode == provider_error_code::credentialNotFound) {
    return ExtensionErrorCode::credentialIdentityNotFound;
  }
  if (errorCode == provider_error_code::matchedExcludedCredential &&
      services_->operatingSystem.isAtLeast({.major = 15})) {
    return ExtensionErrorCode::matchedExcludedCredential;
  }
  return ExtensionErrorCode::failed;
}

void CredentialProviderViewController::finishCancellationForResponse(
    const ProviderMessage& response) {
  auto description = stringForKey(response, provider_message_key::errorDescription);
  ErrorUserInfo userInfo;
  if (description && !description->empty()) {
    userInfo.localizedDescription = std::move(description);
  }
  services_->extensionContext.cancelRequest(
      {.domain = ErrorDomain::extension,
       .code = static_cast<std::int64_t>(extensionErrorCodeForResponse(response)),
       .userInfo = std::move(userInfo)});
}

void CredentialProviderViewController::cancelForResponse(const ProviderMessage& response) {
  if (booleanForKey(response, provider_message_key::showUnavailableUI)) {
    showUnavailableUIForResponse(response);
  } else {
    finishCancellationForResponse(response);
  }
}

}  // namespace korvan
