#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "provider/CredentialProviderViewController.h"

namespace korvan::lab {

/// A call that the operating system makes: an entry point with its arguments.
struct Call {
  /// Calls the entry point, and throws what that throws.
  std::function<void(CredentialProviderViewController& controller)> invoke;
  /// True for the credential update reports, which are neither completed nor canceled.
  bool isReport = false;
};

// A call of each entry point. As with the platform's, arguments may be nil.

[[nodiscard]] Call configurationCall();
[[nodiscard]] Call credentialListCall(
    std::vector<std::string> serviceIdentifiers,
    CredentialProviderViewController::RequestParameters requestParameters);
[[nodiscard]] Call silentAssertionCall(CredentialProviderViewController::AnyRequest request);
[[nodiscard]] Call interactiveAssertionCall(CredentialProviderViewController::AnyRequest request);
[[nodiscard]] Call interactiveRegistrationCall(
    CredentialProviderViewController::AnyRequest request);
[[nodiscard]] Call silentRegistrationCall(CredentialProviderViewController::PasskeyRequest request);

/// A user's name at a relying party has changed.
/// https://www.w3.org/TR/webauthn-3/#sctn-signal-methods
[[nodiscard]] Call updatedUserNameReport(std::optional<std::string> relyingParty,
                                         std::optional<Data> userHandle,
                                         std::optional<std::string> newName);
/// The relying party does not know the credential.
[[nodiscard]] Call unknownCredentialReport(std::optional<std::string> relyingParty,
                                           std::optional<Data> credentialID);
/// The relying party accepts these credentials of the user, and no others.
[[nodiscard]] Call acceptedCredentialsReport(
    std::optional<std::string> relyingParty, std::optional<Data> userHandle,
    std::optional<PropertyListValue::Array> acceptedCredentialIDs);

}  // namespace korvan::lab
