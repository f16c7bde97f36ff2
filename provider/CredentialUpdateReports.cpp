#include <stdexcept>
#include <string_view>
#include <utility>

#include "provider/CredentialProviderViewController.h"
#include "provider/MessageValues.h"

namespace korvan {
namespace {

/// The argument, which a report cannot do without.
template <typename Argument>
const Argument& required(std::string_view name, const std::optional<Argument>& argument) {
  if (!argument) {
    throw std::invalid_argument(std::string("The argument ").append(name).append(" is nil."));
  }
  return *argument;
}

}  // namespace

void CredentialProviderViewController::sendCredentialUpdate(ProviderMessage request) {
  request.insert_or_assign(provider_message_key::allowsUserInteraction, false);
  performRequest(std::move(request), nullptr);
}

void CredentialProviderViewController::reportPublicKeyCredentialUpdateForRelyingParty(
    const std::optional<std::string>& relyingParty, const std::optional<Data>& userHandle,
    const std::optional<std::string>& newName) {
  sendCredentialUpdate({
      {"relyingPartyIdentifier", required("relyingParty", relyingParty)},
      {"type", provider_request_type::updateUserName},
      {"userHandle", required("userHandle", userHandle)},
      {"userName", required("newName", newName)},
  });
}

void CredentialProviderViewController::reportUnknownPublicKeyCredentialForRelyingParty(
    const std::optional<std::string>& relyingParty, const std::optional<Data>& credentialID) {
  sendCredentialUpdate({
      {"credentialID", required("credentialID", credentialID)},
      {"relyingPartyIdentifier", required("relyingParty", relyingParty)},
      {"type", provider_request_type::removeUnknownCredential},
  });
}

void CredentialProviderViewController::reportAllAcceptedPublicKeyCredentialsForRelyingParty(
    const std::optional<std::string>& relyingParty, const std::optional<Data>& userHandle,
    const std::optional<std::vector<Data>>& acceptedCredentialIDs) {
  sendCredentialUpdate({
      {"acceptedCredentialIDs",
       arrayOrEmpty(&required("acceptedCredentialIDs", acceptedCredentialIDs))},
      {"relyingPartyIdentifier", required("relyingParty", relyingParty)},
      {"type", provider_request_type::acceptedCredentials},
      {"userHandle", required("userHandle", userHandle)},
  });
}

}  // namespace korvan
