#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "provider/CredentialProviderViewController.h"

namespace korvan::lab {

/// One call that the operating system makes: an entry point with its arguments.
struct Call {
  /// Calls the entry point, and throws what it throws.
  std::function<void(CredentialProviderViewController& controller)> invoke;
  /// True of the reports, which nobody completes or cancels.
  bool isReport = false;
};

// The calls of all entry points, whose arguments may be nil as the platform's may.

[[nodiscard]] Call configurationCall();
[[nodiscard]] Call credentialListCall(
    std::vector<std::string> serviceIdentifiers,
    CredentialProviderViewController::RequestParameters requestParameters);
[[nodiscard]] Call silentAssertionCall(CredentialProviderViewController::AnyRequest request);
[[nodiscard]] Call interactiveAssertionCall(CredentialProviderViewController::AnyRequest request);
[[nodiscard]] Call interactiveRegistrationCall(
    CredentialProviderViewController::AnyRequest request);
[[nodiscard]] Call silentRegistrationCall(CredentialProviderViewController::PasskeyRequest request);

/// A user of a relying party has another name now.
/// https://www.w3.org/TR/webauthn-3/#sctn-signal-methods
[[nodiscard]] Call updatedUserNameReport(std::optional<std::string> relyingParty,
                                         std::optional<Data> userHandle,
                                         std::optional<std::string> newName);
/// The relying party does not know the credential.
[[nodiscard]] Call unknownCredentialReport(std::optional<std::string> relyingParty,
                                           std::optional<Data> credentialID);
/// These are all of the user's credentials that the relying party accepts.
[[nodiscard]] Call acceptedCredentialsReport(
    std::optional<std::string> relyingParty, std::optional<Data> userHandle,
    std::optional<std::vector<Data>> acceptedCredentialIDs);

}  // namespace korvan::lab
