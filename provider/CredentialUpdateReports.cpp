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
  request.set(Text::ofStatic(provider_message_key::allowsUserInteraction), false);
  performRequest(std::move(request), nullptr);
}

void CredentialProviderViewController::reportPublicKeyCredentialUpdateForRelyingParty(
    const std::optional<std::string>& relyingParty, const std::optional<Data>& userHandle,
    const std::optional<std::string>& newName) {
  sendCredentialUpdate({
      {.key = "relyingPartyIdentifier"_text, .value = Text(required("relyingParty", relyingParty))},
      {.key = "type"_text, .value = Text::ofStatic(provider_request_type::updateUserName)},
      {.key = "userHandle"_text, .value = required("userHandle", userHandle)},
      {.key = "userName"_text, .value = Text(required("newName", newName))},
  });
}

void CredentialProviderViewController::reportUnknownPublicKeyCredentialForRelyingParty(
    const std::optional<std::string>& relyingParty, const std::optional<Data>& credentialID) {
  sendCredentialUpdate({
      {.key = "credentialID"_text, .value = required("credentialID", credentialID)},
      {.key = "relyingPartyIdentifier"_text, .value = Text(required("relyingParty", relyingParty))},
      {.key = "type"_text, .value = Text::ofStatic(provider_request_type::removeUnknownCredential)},
  });
}

void CredentialProviderViewController::reportAllAcceptedPublicKeyCredentialsForRelyingParty(
    const std::optional<std::string>& relyingParty, const std::optional<Data>& userHandle,
    const std::optional<std::vector<Data>>& acceptedCredentialIDs) {
  sendCredentialUpdate({
      {.key = "acceptedCredentialIDs"_text,
       .value = arrayOrEmpty(&required("acceptedCredentialIDs", acceptedCredentialIDs))},
      {.key = "relyingPartyIdentifier"_text, .value = Text(required("relyingParty", relyingParty))},
      {.key = "type"_text, .value = Text::ofStatic(provider_request_type::acceptedCredentials)},
      {.key = "userHandle"_text, .value = required("userHandle", userHandle)},
  });
}

}  // namespace korvan
