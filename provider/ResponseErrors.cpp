#include <utility>

#include "platform/ExtensionContext.h"
#include "platform/OperatingSystem.h"
#include "provider/CredentialProviderViewController.h"

namespace korvan {

namespace key = provider_message_key;

ExtensionErrorCode CredentialProviderViewController::extensionErrorCodeForResponse(
    const ProviderMessage& response) const {
  const auto errorCode = stringForKey(response, key::errorCode);
  // Only the user can unlock a vault.
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
  // The platform's code exists from macOS 15 on.
  if (errorCode == provider_error_code::matchedExcludedCredential &&
      services_->operatingSystem.isAtLeast({.major = 15})) {
    return ExtensionErrorCode::matchedExcludedCredential;
  }
  return ExtensionErrorCode::failed;
}

void CredentialProviderViewController::finishCancellationForResponse(
    const ProviderMessage& response) {
  auto description = stringForKey(response, key::errorDescription);
  ErrorUserInfo userInfo;
  // Without a description the platform words the error itself; an empty one would replace that.
  if (description && !description->empty()) {
    userInfo.localizedDescription = std::move(description);
  }
  services_->extensionContext.cancelRequest(
      {.domain = ErrorDomain::extension,
       .code = static_cast<std::int64_t>(extensionErrorCodeForResponse(response)),
       .userInfo = std::move(userInfo)});
}

void CredentialProviderViewController::cancelForResponse(const ProviderMessage& response) {
  if (booleanForKey(response, key::showUnavailableUI)) {
    showUnavailableUIForResponse(response);
  } else {
    finishCancellationForResponse(response);
  }
}

}  // namespace korvan
