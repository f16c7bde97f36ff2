#include <stdexcept>
#include <string_view>
#include <utility>

#include "provider/CredentialProviderViewController.h"
#include "provider/MessageValues.h"

namespace korvan {
namespace {

namespace key = provider_message_key;

/// The argument, which must not be nil.
template <typename Argument>
const Argument& required(std::string_view name, const std::optional<Argument>& argument) {
  if (!argument) {
    throw std::invalid_argument(std::string("The argument ").append(name).append(" is nil."));
  }
  return *argument;
}

}  // namespace

void CredentialProviderViewController::sendCredentialUpdate(ProviderMessage request) {
  // Whatever the caller put there: a report must never open the host.
  request.insert_or_assign(key::allowsUserInteraction, false);
  performRequest(std::move(request), nullptr);
}

void CredentialProviderViewController::reportPublicKeyCredentialUpdateForRelyingParty(
    const std::optional<std::string>& relyingParty, const std::optional<Data>& userHandle,
    const std::optional<std::string>& newName) {
  sendCredentialUpdate({
      {key::relyingPartyIdentifier, required("relyingParty", relyingParty)},
      {key::type, provider_request_type::updateUserName},
      {key::userHandle, required("userHandle", userHandle)},
      {key::userName, required("newName", newName)},
  });
}

void CredentialProviderViewController::reportUnknownPublicKeyCredentialForRelyingParty(
    const std::optional<std::string>& relyingParty, const std::optional<Data>& credentialID) {
  sendCredentialUpdate({
      {key::credentialID, required("credentialID", credentialID)},
      {key::relyingPartyIdentifier, required("relyingParty", relyingParty)},
      {key::type, provider_request_type::removeUnknownCredential},
  });
}

void CredentialProviderViewController::reportAllAcceptedPublicKeyCredentialsForRelyingParty(
    const std::optional<std::string>& relyingParty, const std::optional<Data>& userHandle,
    const std::optional<PropertyListValue::Array>& acceptedCredentialIDs) {
  sendCredentialUpdate({
      {key::acceptedCredentialIDs, required("acceptedCredentialIDs", acceptedCredentialIDs)},
      {key::relyingPartyIdentifier, required("relyingParty", relyingParty)},
      {key::type, provider_request_type::acceptedCredentials},
      {key::userHandle, required("userHandle", userHandle)},
  });
}

}  // namespace korvan
